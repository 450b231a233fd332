// The rebuilt record against that of the engine, for random products and histories.
#include "Utility/InstallInspector/Rebuild/RebuiltRecord.h"

#include "Utility/InstallUtility/InstallUtility.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using Random = std::mt19937;

bool happens(Random& random, int percent) {
    return std::uniform_int_distribution<int>(1, 100)(random) <= percent;
}

std::string bytesOf(const StatusFile& file) {
    char* text = nullptr;
    std::size_t size = 0;
    FILE* stream = open_memstream(&text, &size);
    file.print(stream);
    static_cast<void>(std::fclose(stream));
    std::string bytes(text, size);
    std::free(text);
    return bytes;
}

/// A product whose build text is no other's, so that the record tells who has written a file.
struct TestedProduct {
    std::string ID;
    std::string build;
    std::map<std::string, std::string> files; ///< in VorlaneFX, with their attributes and elements
    std::int64_t first = 0;                   ///< 0 while it is not installed
    std::int64_t last = 0;

    SKUDefinition definition() const {
        std::string tree;
        for (const auto& [name, more] : files) {
            tree += "<file fileName='" + name + "' " + more + "</file>";
        }
        SKUDefinition read;
        read.parse(("<product><sku ID='" + ID + "' name='" + ID + "' build='" + build +
                    "' prefix='P'/><installFiles><directory fileName='VorlaneFX'>" + tree +
                    "<directory fileName='" + ID + "'/></directory></installFiles></product>")
                       .c_str());
        return read;
    }
};

/// The machine: the record as runs of the engine make it, each of which loads and saves it.
class History {
public:
    explicit History(unsigned seed) : random(seed) {}

    std::vector<TestedProduct> products;
    StatusFile record;
    bool bLeftOver = false; ///< whether an uninstalled product has left its mark on a file of others
    std::string steps;

    /// With flags that each product sets for itself, or all of them alike. A file has the same shortcut in
    /// all.
    void makeProducts(bool bAlike) {
        const auto flag = [&] { return std::string(happens(random, 20) ? "allowdowngrade='1'>" : ">"); };
        std::map<std::string, std::pair<std::string, std::string>> common; // flag and shortcut
        for (int i = 0; i < 6; ++i) {
            const std::string name = "file" + std::to_string(i);
            common[name] = {flag(), happens(random, 25) ? shortCut(name) : ""};
        }
        for (int i = 0; i < 4; ++i) {
            TestedProduct product;
            product.ID = std::string(1, static_cast<char>('A' + i));
            product.build = std::to_string(i) + ".0.0." +
                            std::to_string(std::uniform_int_distribution<int>(1, 3)(random));
            for (const auto& [name, alike] : common) {
                if (happens(random, 60)) {
                    product.files[name] = (bAlike ? alike.first : flag()) + alike.second;
                }
            }
            products.push_back(product);
        }
    }

    void install(TestedProduct& product) {
        run(product, false);
        product.last = ++clock;
        product.first = product.first == 0 ? product.last : product.first;
        steps += product.ID + " " + product.build + "; ";
    }

    void uninstall(TestedProduct& product) {
        run(product, true);
        product.first = 0;
        steps += "not " + product.ID + "; ";
        bLeftOver = bLeftOver || bytesOf(record).find("build=\"" + product.build + "\"") != std::string::npos;
    }

    TestedProduct& any() {
        return products[std::uniform_int_distribution<std::size_t>(0, products.size() - 1)(random)];
    }
    bool chance(int percent) { return happens(random, percent); }

    StatusFile rebuilt() {
        std::vector<RecordedProduct> installed;
        for (const TestedProduct& product : products) {
            if (product.first != 0) {
                installed.push_back({product.definition(), product.first, product.last});
            }
        }
        std::shuffle(installed.begin(), installed.end(), random);
        return rebuiltRecord(std::move(installed));
    }

private:
    static std::string shortCut(const std::string& name) {
        return "<shortCut name='" + name + "' dir='/Applications'/>";
    }

    void run(const TestedProduct& product, bool bRemove) {
        InstallUtility engine;
        engine.skuDefinition = product.definition();
        engine.statusFile = record;
        engine.enterProduct(bRemove);
        const std::string saved = bytesOf(engine.statusFile);
        auto bytes = std::make_unique<char[]>(saved.size() + 1);
        std::copy(saved.begin(), saved.end(), bytes.get());
        ASSERT_TRUE(record.parseBytes(std::move(bytes)));
    }

    Random random;
    std::int64_t clock = 0;
};

/// The record with one build for all files.
std::string withoutBuilds(StatusFile file) {
    const auto clear = [](auto& self, StatusFile::FileNodeRef& node) -> void {
        node.build = "";
        for (auto& [name, child] : node.refChildren) {
            self(self, child);
        }
    };
    clear(clear, file.root);
    return bytesOf(file);
}

} // namespace

TEST(RebuiltRecord, IsThatOfInstallsAndReinstallsInAnyOrder) {
    for (unsigned seed = 1; seed <= 300; ++seed) {
        History history(seed);
        history.makeProducts(false);
        for (int step = 0; step < 10; ++step) {
            history.install(history.any());
            ASSERT_EQ(bytesOf(history.rebuilt()), bytesOf(history.record))
                << "seed " << seed << ": " << history.steps;
        }
    }
}

TEST(RebuiltRecord, IsThatOfUninstallsInBetweenButForBuildsThatTheyLeave) {
    int compared = 0;
    int leftOver = 0;
    for (unsigned seed = 1; seed <= 300; ++seed) {
        History history(seed);
        history.makeProducts(true);
        for (int step = 0; step < 10; ++step) {
            TestedProduct& product = history.any();
            if (product.first != 0 && history.chance(40)) {
                history.uninstall(product);
            } else {
                history.install(product);
            }
            const auto where = [&] { return "seed " + std::to_string(seed) + ": " + history.steps; };
            ASSERT_EQ(withoutBuilds(history.rebuilt()), withoutBuilds(history.record)) << where();
            if (!history.bLeftOver) {
                ASSERT_EQ(bytesOf(history.rebuilt()), bytesOf(history.record)) << where();
                ++compared;
            } else {
                ++leftOver;
            }
        }
    }
    EXPECT_GT(compared, 1000);
    EXPECT_GT(leftOver, 100);
}

/// An update counts no file that another product had first: it never comes out of the count again.
TEST(RebuiltRecord, CountsWhatAnUpdateDidNotCount) {
    History history(1);
    history.products = {{"A", "1.0.0.1", {{"own", ">"}}}, {"B", "1.0.0.1", {{"shared", ">"}}}};
    history.install(history.products[0]);
    history.install(history.products[1]);
    history.products[0].files["shared"] = ">";
    history.products[0].build = "1.0.0.2";
    history.install(history.products[0]);
    EXPECT_EQ(history.record.getFileInfo("VorlaneFX/shared")->ref, 1);
    EXPECT_EQ(history.rebuilt().getFileInfo("VorlaneFX/shared")->ref, 2);
}

TEST(RebuiltRecord, NothingOfNothing) {
    EXPECT_EQ(bytesOf(rebuiltRecord({})), "<install>\n    <products />\n    <installFiles />\n</install>\n");
}
