// The text that the JSON library gives for the same document is what every case is held against.
#include "Utility/InstallInspector/Report/JsonWriter.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

namespace {

using Json = nlohmann::ordered_json;

std::string written(const std::function<void(JsonWriter&)>& write) {
    char* text = nullptr;
    std::size_t size = 0;
    FILE* file = open_memstream(&text, &size);
    Output output(file);
    JsonWriter json(output);
    write(json);
    EXPECT_TRUE(output.finish());
    std::fclose(file);
    std::string result(text, size);
    std::free(text);
    return result;
}

std::string dumped(const Json& document) {
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

TEST(JsonWriter, WritesMembersOfEveryKind) {
    const std::string text = written([](JsonWriter& json) {
        json.beginObject();
        json.text("text", "a");
        json.number("number", -12);
        json.flag("yes", true);
        json.flag("no", false);
        json.endObject();
    });
    EXPECT_EQ(text, dumped(Json({{"text", "a"}, {"number", -12}, {"yes", true}, {"no", false}})));
}

TEST(JsonWriter, NestsObjectsAndArrays) {
    const std::string text = written([](JsonWriter& json) {
        json.beginObject();
        json.beginArray("list");
        for (const char* name : {"first", "second"}) {
            json.beginObject();
            json.text("name", name);
            json.beginArray("parts");
            json.element("a");
            json.element("b");
            json.endArray();
            json.endObject();
        }
        json.endArray();
        json.beginObject("object");
        json.number("n", 1);
        json.endObject();
        json.endObject();
    });
    EXPECT_EQ(text, dumped(Json::parse(R"({"list": [{"name": "first", "parts": ["a", "b"]},
                                                    {"name": "second", "parts": ["a", "b"]}],
                                           "object": {"n": 1}})")));
}

TEST(JsonWriter, WritesWhatIsEmptyInOneLine) {
    const std::string text = written([](JsonWriter& json) {
        json.beginObject();
        json.beginArray("array");
        json.endArray();
        json.beginObject("object");
        json.endObject();
        json.endObject();
    });
    EXPECT_EQ(text, dumped(Json::parse(R"({"array": [], "object": {}})")));
    EXPECT_EQ(written([](JsonWriter& json) {
                  json.beginObject();
                  json.endObject();
              }),
              "{}\n");
}

TEST(JsonWriter, QuotesEveryByteAndCharacterAsTheLibraryDoes) {
    std::vector<std::string> texts = {"",
                                      "\xC3\xA9",
                                      "\xE2\x94\x94",
                                      "\xF0\x9F\x98\x80",
                                      "\xC3",
                                      "a\xE2\x94z",
                                      std::string("zero\0in it", 10)};
    for (int byte = 0; byte < 256; ++byte) {
        texts.push_back("a" + std::string(1, static_cast<char>(byte)) + "z");
    }
    Json expected = Json::array();
    for (const std::string& text : texts) {
        expected.push_back(text);
    }
    EXPECT_EQ(written([&](JsonWriter& json) {
                  json.beginArray();
                  for (const std::string& text : texts) {
                      json.element(text);
                  }
                  json.endArray();
              }),
              dumped(expected));
}

TEST(Output, SaysOnceWhyItCouldNotBeWritten) {
    FILE* full = std::fopen("/dev/full", "w");
    if (full == nullptr) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    Output output(full);
    for (int i = 0; i < 3; ++i) {
        output.write(std::string(100'000, 'x'));
    }
    errno = 0; // that of the first piece counts
    testing::internal::CaptureStderr();
    EXPECT_FALSE(output.finish());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "InstallInspector: cannot write to standard output: No space left on device\n");
    std::fclose(full);
}

TEST(Output, SaysThatTheLastPieceCouldNotBeWritten) {
    FILE* full = std::fopen("/dev/full", "w");
    if (full == nullptr) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    testing::internal::CaptureStderr(); // which flushes all that is open
    Output output(full);
    output.write("a few bytes, which wait for the end");
    EXPECT_FALSE(output.finish());
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    std::fclose(full);
}

} // namespace
