#include "Utility/InstallUtility/RecordFile.h"

#include "Tests/Engine/EngineTest.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace {

/// A machine on which reading and saving the record can be disturbed.
class DisturbedMachine : public RecordingMachine {
public:
    FileContent readFile(const VLString& path) override {
        if (readError == 0 || !path.EndsWith("InstallationStatusFile.xml")) {
            return RecordingMachine::readFile(path);
        }
        FileContent content;
        content.error = readError;
        return content;
    }
    Saved saveFile(const VLString& path, const std::function<void(FILE*)>& print, const FileState* expected,
                   int& error) override {
        ++saves;
        if (beforeSave) {
            std::exchange(beforeSave, nullptr)();
        }
        if (busySaves > 0) {
            --busySaves;
            error = EBUSY;
            return Saved::No;
        }
        return RecordingMachine::saveFile(path, print, expected, error);
    }
    bool createFile(const VLString& path, const char* bytes, std::size_t size, int& error) override {
        error = createError;
        return createError == 0 && RecordingMachine::createFile(path, bytes, size, error);
    }
    std::chrono::milliseconds pause(std::chrono::milliseconds duration) override { return duration; }

    int readError = 0;
    int createError = 0;
    int busySaves = 0;
    int saves = 0;
    std::function<void()> beforeSave; ///< what another run does
};

class RecordFileTest : public EngineTest {
protected:
    RecordFileTest() { Machine::setCurrent(&disturbed); }

    static constexpr const char* recordName = "target/InstallationStatusFile.xml";

    ProductBuilder product(const std::string& id = "ALPHA") const {
        return ProductBuilder(id, id)
            .target("VorlaneFX", at("target"))
            .file("VorlaneFX/shared", "S")
            .file("VorlaneFX/" + id, id);
    }
    std::string record() const { return exists(recordName) ? read(recordName) : "none"; }
    static std::string unreadable(const std::string& why) {
        return "Error: The record '$T/" + std::string(recordName) + "' cannot be read (" + why +
               "). It stays as it is, and this run is not recorded.";
    }
    static std::string cannotKeep(const std::string& why) {
        return "Error: The damaged record '$T/" + std::string(recordName) + "' cannot be kept (" + why +
               "). It stays as it is, and this run is not recorded.";
    }
    static std::string kept(const std::string& name) {
        return "Error: The record '$T/" + std::string(recordName) + "' is damaged. It is kept as '$T/" +
               recordName + name + "'.";
    }
    static std::string notListed(const std::string& id = "ALPHA") {
        return "Warning: The record does not list the product '" + id + "'. No count is lowered.";
    }
    static std::string cannotRemove(const std::string& name) {
        return "Error: Cannot remove file '$T/target/" + name + "'";
    }
    /// The product's install by another process, which ends before this one goes on.
    void installMeanwhile(const ProductBuilder& other) {
        InstallUtility engineOfAnother;
        other.writeTo(at("product of another"));
        engineOfAnother.prepare(at("product of another/files").c_str(),
                                at("product of another/sku.xml").c_str(),
                                at("product of another/target_path.xml").c_str());
        engineOfAnother.copyFilesToTargets();
    }
    void uninstallMeanwhile(const ProductBuilder& other) {
        InstallUtility engineOfAnother;
        other.writeTo(at("product of another"));
        engineOfAnother.prepare(at("product of another/files").c_str(),
                                at("product of another/sku.xml").c_str(),
                                at("product of another/target_path.xml").c_str());
        engineOfAnother.removeProduct();
    }
    Lines products() {
        StatusFile file;
        file.parse(at(recordName).c_str());
        Lines lines;
        for (const auto& info : file.products) {
            lines.emplace_back(info.ID.ConstData());
        }
        return lines;
    }
    int references(const char* path) {
        StatusFile file;
        file.parse(at(recordName).c_str());
        const StatusFile::FileNodeRef* node = file.getFileInfo(path);
        return node == nullptr ? 0 : node->ref;
    }

    DisturbedMachine disturbed;
};

} // namespace

// One that cannot be read

TEST_F(RecordFileTest, ThatCannotBeReadIsNeitherSavedNorRemovedAndReportedOnce) {
    install(product());
    install(product("BETA"));
    const std::string before = record();
    for (const int error : {EIO, EACCES, EMFILE, EINTR, ELOOP}) {
        disturbed.readError = error;
        EXPECT_EQ(install(product("GAMMA")), Lines{unreadable(std::strerror(error))});
        EXPECT_EQ(record(), before) << std::strerror(error);
        commands();
        EXPECT_EQ(uninstall(product()), Lines{unreadable(std::strerror(error))});
        EXPECT_THAT(commands(),
                    testing::Not(testing::Contains(testing::HasSubstr("InstallationStatusFile"))));
        EXPECT_EQ(record(), before) << std::strerror(error);
        EXPECT_TRUE(exists("target/ALPHA")) << "nobody knows who uses it";
    }
}

TEST_F(RecordFileTest, ThatIsMissingIsAnEmptyOne) {
    for (const int error : {ENOENT, ENOTDIR}) {
        disturbed.readError = error;
        disturbed.beforeSave = [&] { disturbed.readError = 0; };
        EXPECT_EQ(install(product()), Lines());
        EXPECT_EQ(products(), Lines{"ALPHA"});
        std::filesystem::remove_all(at("target"));
    }
}

// A damaged one

TEST_F(RecordFileTest, ThatIsDamagedIsKeptByteForByte) {
    using namespace std::string_literals;
    for (const std::string& bytes :
         {"<install>\r\n<products>\r\n"s, "\0\0\0\0"s, "<html/>"s, "no XML"s, " "s, "<install\0/>"s}) {
        write(recordName, bytes);
        EXPECT_EQ(install(product()), Lines{kept(".damaged")}) << bytes;
        EXPECT_EQ(read(std::string(recordName) + ".damaged"), bytes);
        EXPECT_EQ(products(), Lines{"ALPHA"});
        std::filesystem::remove_all(at("target"));
    }
}

TEST_F(RecordFileTest, ThatIsDamagedIsKeptUnderANameThatIsFree) {
    for (const std::string name : {".damaged", ".damaged2", ".damaged3"}) {
        write(recordName, "<install>" + name);
        EXPECT_EQ(install(product()), Lines{kept(name)});
    }
    for (const std::string name : {".damaged", ".damaged2", ".damaged3"}) {
        EXPECT_EQ(read(recordName + name), "<install>" + name);
    }
}

TEST_F(RecordFileTest, ThatIsDamagedIsKeptBeforeAnUninstallRemovesIt) {
    install(product());
    write(recordName, "<install>");
    EXPECT_EQ(uninstall(product()), (Lines{notListed(), kept(".damaged")}));
    EXPECT_EQ(record(), "none");
    EXPECT_EQ(read(std::string(recordName) + ".damaged"), "<install>");
    EXPECT_TRUE(exists("target/ALPHA"));
}

TEST_F(RecordFileTest, ThatIsEmptyIsNotKept) {
    write(recordName, "");
    EXPECT_EQ(install(product()), Lines());
    EXPECT_FALSE(exists(std::string(recordName) + ".damaged"));
    EXPECT_EQ(products(), Lines{"ALPHA"});
}

TEST_F(RecordFileTest, ThatIsDamagedAndCannotBeKeptStays) {
    write(recordName, "<install>");
    disturbed.createError = ENOSPC;
    EXPECT_EQ(install(product()), Lines{cannotKeep(std::strerror(ENOSPC))});
    EXPECT_EQ(uninstall(product()), (Lines{notListed(), cannotKeep(std::strerror(ENOSPC))}));
    EXPECT_EQ(record(), "<install>");
}

// Saving

TEST_F(RecordFileTest, SaveThatFailsIsReportedOnceAndTheOldRecordStays) {
    install(product());
    const std::string before = record();
    write(std::string(recordName) + ".new/in the way", "");
    EXPECT_EQ(install(product("BETA")), Lines{"Error: The record '$T/" + std::string(recordName) +
                                              "' cannot be saved (" + std::strerror(EISDIR) + ")."});
    EXPECT_EQ(record(), before);
}

TEST_F(RecordFileTest, WithoutProductsAndWithoutFolderIsNothingToSave) {
    prepare(product());
    EXPECT_EQ(logOf([&] { EXPECT_TRUE(engine.removeProduct()); }), Lines{notListed()});
    EXPECT_EQ(disturbed.saves, 0);
    EXPECT_FALSE(exists("target"));
}

TEST_F(RecordFileTest, WithProductsAndWithoutFolderTheFailureIsReported) {
    prepare(product());
    EXPECT_EQ(logOf([&] {
                  engine.loadStatusFile(at("target").c_str(), false);
                  engine.saveStatusFile(at("target").c_str());
              }),
              Lines{"Error: The record '$T/" + std::string(recordName) + "' cannot be saved (" +
                    std::strerror(ENOENT) + ")."});
}

// What another run has saved meanwhile

TEST_F(RecordFileTest, ThatAnotherInstallHasMadeMeanwhileIsReadAgain) {
    disturbed.beforeSave = [&] { installMeanwhile(product("BETA")); };
    EXPECT_EQ(install(product()), Lines());
    EXPECT_EQ(products(), (Lines{"BETA", "ALPHA"}));
    EXPECT_EQ(references("VorlaneFX/shared"), 2);
    EXPECT_EQ(references("VorlaneFX/ALPHA"), 1);
    EXPECT_EQ(references("VorlaneFX/BETA"), 1);
}

TEST_F(RecordFileTest, ThatAnotherRunHasRemovedMeanwhileIsReadAgain) {
    install(product("BETA"));
    disturbed.beforeSave = [&] { uninstallMeanwhile(product("BETA")); };
    install(product());
    EXPECT_EQ(products(), Lines{"ALPHA"});
    EXPECT_EQ(references("VorlaneFX/shared"), 1);
}

TEST_F(RecordFileTest, ThatChangedDuringAnUninstallIsReadAgain) {
    install(product());
    install(product("BETA"));
    disturbed.beforeSave = [&] { installMeanwhile(product("GAMMA")); };
    uninstall(product());
    EXPECT_EQ(products(), (Lines{"BETA", "GAMMA"}));
    EXPECT_EQ(references("VorlaneFX/shared"), 2);
    EXPECT_EQ(references("VorlaneFX/ALPHA"), 0);
}

TEST_F(RecordFileTest, ThatAnotherUninstallOfTheProductHasSavedIsNotCountedDownTwice) {
    install(product());
    install(product("BETA"));
    disturbed.beforeSave = [&] { uninstallMeanwhile(product()); };
    uninstall(product());
    EXPECT_EQ(products(), Lines{"BETA"});
    EXPECT_EQ(references("VorlaneFX/shared"), 1);
}

TEST_F(RecordFileTest, ThatChangedWithoutChangingItsSizeIsReadAgain) {
    install(product("BETA"));
    disturbed.beforeSave = [&] {
        std::string text = read(recordName);
        text.replace(text.find("ID=\"BETA\""), 9, "ID=\"DELT\"");
        write(recordName, text);
    };
    install(product());
    EXPECT_EQ(products(), (Lines{"DELT", "ALPHA"}));
}

TEST_F(RecordFileTest, ThatCannotBeReadAfterItChangedStays) {
    install(product("BETA"));
    disturbed.beforeSave = [&] {
        std::filesystem::remove(at(recordName));
        std::filesystem::create_directory(at(recordName));
    };
    EXPECT_THAT(install(product()), testing::ElementsAre(testing::HasSubstr("cannot be saved")));
    EXPECT_TRUE(std::filesystem::is_directory(at(recordName)));
}

TEST_F(RecordFileTest, ThatAnotherRunIsSavingIsTriedAgain) {
    disturbed.busySaves = 3;
    EXPECT_EQ(install(product()), Lines());
    EXPECT_EQ(disturbed.saves, 4);
    EXPECT_EQ(products(), Lines{"ALPHA"});
}

TEST_F(RecordFileTest, ThatChangesForEverIsReportedInTheEnd) {
    class EverChanging : public DisturbedMachine {
        Saved saveFile(const VLString&, const std::function<void(FILE*)>&, const FileState*, int&) override {
            return Saved::ChangedMeanwhile;
        }
    } everChanging;
    Machine::setCurrent(&everChanging);
    EXPECT_EQ(install(product()), Lines{"Error: The record '$T/" + std::string(recordName) +
                                        "' cannot be saved (" + std::strerror(EBUSY) + ")."});
}

TEST_F(RecordFileTest, ThatAnotherRunSavesForEverIsReportedInTheEnd) {
    disturbed.busySaves = 1 << 20;
    EXPECT_EQ(install(product()), Lines{"Error: The record '$T/" + std::string(recordName) +
                                        "' cannot be saved (" + std::strerror(EBUSY) + ")."});
}

// An uninstall of what is not listed

TEST_F(RecordFileTest, UninstallOfAProductThatIsNotListedLowersNoCount) {
    install(product("BETA"));
    const std::string before = record();
    EXPECT_EQ(uninstall(product()), Lines{notListed()});
    EXPECT_EQ(record(), before);
    EXPECT_TRUE(exists("target/shared"));
    EXPECT_TRUE(exists("target/BETA"));
}

TEST_F(RecordFileTest, SecondUninstallTakesNothingFromOtherProducts) {
    install(product());
    install(product("BETA"));
    EXPECT_EQ(uninstall(product()), Lines{cannotRemove("ALPHA")});
    const std::string before = record();
    EXPECT_EQ(uninstall(product()), Lines{notListed()});
    EXPECT_EQ(record(), before);
    EXPECT_TRUE(exists("target/shared"));
}
