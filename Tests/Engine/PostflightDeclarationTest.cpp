#include "Tests/Engine/EngineTest.h"

// Without the header, as programs declare them that link the post-install step. That this links is the test:
// whether an argument is taken by value or by reference is part of a function's name.
void postflight(VLString skuXmlPath, VLString targetPathsXmlPath, bool install);
bool showRetryCancelAlert(VLString title, VLString text);

namespace {

using DeclaredByTheProgram = EngineTest;

} // namespace

TEST_F(DeclaredByTheProgram, PostflightLinks) {
    EXPECT_EQ(logOf([&] { postflight(at("missing").c_str(), at("missing").c_str(), false); }),
              (Lines{"Error: Postflight failed: sku xml not found"}));
}

TEST_F(DeclaredByTheProgram, AlertLinks) {
    answerAlerts("exit 0");
    EXPECT_TRUE(showRetryCancelAlert("title", "text"));
    EXPECT_EQ(alerts(), (Lines{"title: text"}));
}
