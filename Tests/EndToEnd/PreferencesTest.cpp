#include "Tests/Support/EndToEndTest.h"

namespace {

/// Targets that depend on values which other programs of the family have left in anna's preference files.
class Preferences : public EndToEndTest {
protected:
    static ProductBuilder product() {
        return ProductBuilder("ALPHA", "Alpha").unlistedFile("VorlaneFX/u", "").file("Content/a", "A");
    }
    void writeList(const std::string& file, const std::string& entries) {
        root().write(std::string(PrivateRoot::userPreferences) + "/" + file,
                     "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + entries +
                         "</dict></plist>\n");
    }
    /// Installs the product, and gives the folders of /Library that it has written to.
    Lines foldersWritten(const ProductBuilder& product) {
        ExpectSuccess(Install(product));
        Lines folders;
        for (const std::string& line : root().tree("/Library")) {
            const std::size_t end = line.rfind("/a: A");
            if (end != std::string::npos) {
                folders.push_back(line.substr(0, end));
            }
        }
        return folders;
    }
};

/// A list with the one entry Folder = /Library/Binary Host, in the binary form.
std::string binaryList() {
    return std::string("bplist00\xd1\x01\x02VFolder_\x10\x14/Library/Binary Host\x08\x0b\x12") +
           std::string(6, '\0') + "\x01\x01" + std::string(7, '\0') + "\x03" + std::string(15, '\0') + ")";
}

} // namespace

TEST_F(Preferences, ValueOfAnXmlListIsPartOfAPath) {
    writeList("com.vorlane.vorlane.host3.plist", "<key>Folder</key><string>/Library/My &amp; Host</string>");
    EXPECT_EQ(foldersWritten(product().target("Content", "%REGKEY:Vorlane/Host 3::Folder%/Plug-ins")),
              (Lines{"/Library/My & Host/Plug-ins"}));
}

TEST_F(Preferences, ValueOfABinaryListIsPartOfAPath) {
    root().write(std::string(PrivateRoot::userPreferences) + "/com.vorlane.host.plist", binaryList());
    EXPECT_EQ(foldersWritten(product().target("Content", "%REGKEY:Host::Folder%/Plug-ins")),
              (Lines{"/Library/Binary Host/Plug-ins"}));
}

TEST_F(Preferences, ConditionsLookAtValues) {
    writeList("com.vorlane.host.plist", "<key>Set</key><string>x</string><key>Empty</key><string></string>"
                                        "<key>Number</key><integer>5</integer>");
    EXPECT_EQ(foldersWritten(product()
                                 .target("Content", "/Library/1", valueExists("Host", "Set"))
                                 .target("Content", "/Library/2", valueMissing("Host", "Set"))
                                 .target("Content", "/Library/3", valueExists("Host", "Empty"))
                                 .target("Content", "/Library/4", valueMissing("Host", "Empty"))
                                 .target("Content", "/Library/5", valueExists("Host", "Number"))
                                 .target("Content", "/Library/6", valueMissing("Host", "Absent"))
                                 .target("Content", "/Library/7", valueExists("NoSuchHost", "Set"))
                                 .target("Content", "/Library/8", valueMissing("NoSuchHost", "Set"))),
              (Lines{"/Library/1", "/Library/4", "/Library/6", "/Library/8"}));
}

TEST_F(Preferences, PathsThatComeOutEmptyArePassedOver) {
    EXPECT_EQ(foldersWritten(
                  product().target("Content", "%REGKEY:Host::Folder%").target("Content", "/Library/Plain")),
              (Lines{"/Library/Plain"}));
}

TEST_F(Preferences, MalformedListHoldsNoValues) {
    root().write(std::string(PrivateRoot::userPreferences) + "/com.vorlane.host.plist", "<plist><dict>");
    EXPECT_EQ(foldersWritten(product().target("Content", "/Library/Without", valueMissing("Host", "Folder"))),
              (Lines{"/Library/Without"}));
}

TEST_F(Preferences, ListsOfTheMachineAndTheTemporaryFolderAreNotLookedAt) {
    for (const char* folder : {"/tmp", "/Library/Preferences"}) {
        root().write(
            std::string(folder) + "/com.vorlane.host.plist",
            "<plist version=\"1.0\"><dict><key>Folder</key><string>/Library/Wrong</string></dict></plist>");
    }
    EXPECT_EQ(foldersWritten(product().target("Content", "/Library/Right", valueMissing("Host", "Folder"))),
              (Lines{"/Library/Right"}));
}

TEST_F(Preferences, UserIsTheOneOfTheHomeFolder) {
    root().write("/etc/passwd", root().read("/etc/passwd") + "bert:x:502:20:Bert:/Users/bert:/bin/sh\n");
    root().write(
        "/Users/bert/Library/Preferences/com.vorlane.host.plist",
        "<plist version=\"1.0\"><dict><key>Folder</key><string>/Library/Bert's</string></dict></plist>");
    Options options;
    options.environment["HOME"] = "/Users/bert";
    const ProductBuilder alpha =
        product().target("Content", "%REGKEY:Host::Folder%").target("Content", "/Users/%USER%/Movies");
    ExpectSuccess(Install(alpha, {}, options));
    EXPECT_TRUE(root().exists("/Library/Bert's/a"));
    EXPECT_TRUE(root().exists("/Users/bert/Movies/a"));
}

TEST_F(Preferences, ValuesAndHomesRunNoCode) {
    root().write("/tmp/$(touch /tmp/ran)", ""); // what a home with "*" would find
    const ProductBuilder alpha = product()
                                     .target("Content", "%REGKEY:Host::Folder%/Plug-ins")
                                     .target("Content", "/Users/%USER%/Movies")
                                     .target("Content", "/Library/Set", valueExists("Host", "Folder"))
                                     .target("Content", "/Library/Plain");
    const std::string countsAsEmpty = " holds a character that a shell would act on. It counts as empty.";
    for (const std::string value : {"/tmp/$(touch /tmp/ran)", "/tmp/`touch /tmp/ran`",
                                    "/tmp/&quot;;touch /tmp/ran;&quot;", "/tmp/\\", "a\nb"}) {
        writeList("com.vorlane.host.plist", "<key>Folder</key><string>" + value + "</string>");
        const ProgramResult result = Install(alpha);
        ExpectSuccess(result);
        ExpectLog(result, {"Checking file consistency in source folder",
                           "Error: The preference 'Host::Folder'" + countsAsEmpty});
        EXPECT_FALSE(root().exists("/tmp/ran")) << value;
        EXPECT_TRUE(root().exists("/Plug-ins/a")) << value;
        EXPECT_TRUE(root().exists("/Users/anna/Movies/a"));
        EXPECT_FALSE(root().exists("/Library/Set"));
        EXPECT_TRUE(hasLine(Uninstall(alpha), "Error: The preference 'Host::Folder'" + countsAsEmpty));
        EXPECT_FALSE(root().exists("/tmp/ran")) << value;
    }
    root().remove(std::string(PrivateRoot::userPreferences) + "/com.vorlane.host.plist");
    for (const std::string home : {"/Users/anna;touch /tmp/ran", "$(touch /tmp/ran)", "`touch /tmp/ran`",
                                   "/tmp/*", "/Users/anna\ntouch /tmp/ran", "/tmp/?(touch ?tmp?ran)"}) {
        Options options;
        options.environment["HOME"] = home;
        const ProgramResult result = Install(alpha, {}, options);
        ExpectSuccess(result);
        EXPECT_TRUE(hasLine(result, "Error: The environment variable HOME" + countsAsEmpty)) << home;
        EXPECT_FALSE(root().exists("/tmp/ran")) << home;
        EXPECT_TRUE(root().exists("/Library/Plain/a"));
        EXPECT_TRUE(root().exists("/Users/Movies/a")) << "the user has no name";
        ExpectSuccess(Uninstall(alpha, {}, options));
        EXPECT_FALSE(root().exists("/tmp/ran")) << home;
    }
}
