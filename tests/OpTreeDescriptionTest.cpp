#include <OxTellarProducers/OpTreeDescription.h>

#include <stdexcept>
#include <string>

#include <gmock/gmock.h>

#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/AttributeSuite.h>

#include "CapturedErrors.h"
#include "OpenFiles.h"
#include "SceneBuilders.h"
#include "TempDirectory.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::LoadOpTreeDescriptionFromFile;

/// Sets up an attribute suite, or none, and puts back what was set up before.
class ScopedAttributeSuite {
public:
    explicit ScopedAttributeSuite(const OxAttributeSuite_v1* suite)
        : previous(OxGetAttributeSuite()) {
        OxSetAttributeSuite(suite);
    }
    ~ScopedAttributeSuite() { OxSetAttributeSuite(previous); }
    ScopedAttributeSuite(const ScopedAttributeSuite&) = delete;
    ScopedAttributeSuite& operator=(const ScopedAttributeSuite&) = delete;

private:
    const OxAttributeSuite_v1* previous;
};

class LoadOpTreeDescription : public testing::Test {
protected:
    TempDirectory folder;
    const ScopedAttributeSuite suite{OxGetBuiltInAttributeSuite()};
    const CapturedErrors errors;
    const GroupAttribute description =
        Group({{"scene", OpEntry("StaticScene", Location({{"n", Int(1)}}))},
               {"merge", OpEntry("Merge", {}, {"scene", "scene"})}});

    std::string writeDescription(const char* name, bool compress = false) const {
        OxAttribute::WriteAttributeFile(folder.path(name), description, compress);
        return folder.path(name);
    }
};

TEST_F(LoadOpTreeDescription, GivesTheGroupThatTheFileHoldsWhateverTheFlag) {
    const std::string path = writeDescription("tree.attr");
    EXPECT_EQ(LoadOpTreeDescriptionFromFile(path, true), description);
    EXPECT_EQ(LoadOpTreeDescriptionFromFile(path, false), description);
    EXPECT_EQ(errors.text(), "");
}

TEST_F(LoadOpTreeDescription, ReadsACompressedFileAsWell) {
    const std::string path = writeDescription("tree.attr", true);
    EXPECT_EQ(LoadOpTreeDescriptionFromFile(path, false), description);
}

TEST_F(LoadOpTreeDescription, GivesAnEmptyGroupForAFileThatHoldsOne) {
    OxAttribute::WriteAttributeFile(folder.path("empty.attr"), GroupAttribute(true));
    const GroupAttribute read = LoadOpTreeDescriptionFromFile(folder.path("empty.attr"), true);
    EXPECT_TRUE(read.isValid());
    EXPECT_EQ(read.getNumberOfChildren(), 0);
}

TEST_F(LoadOpTreeDescription, SaysOnStandardErrorThatTheFileDoesNotExist) {
    const std::string path = folder.path("missing.attr");
    EXPECT_FALSE(LoadOpTreeDescriptionFromFile(path, true).isValid());
    EXPECT_EQ(errors.text(),
              "LoadOpTreeDescriptionFromFile(): Op tree file \"" + path + "\" does not exist.\n");
}

TEST_F(LoadOpTreeDescription, SaysTheSameForAMissingFileWhateverTheFlag) {
    EXPECT_FALSE(LoadOpTreeDescriptionFromFile("", false).isValid());
    EXPECT_FALSE(LoadOpTreeDescriptionFromFile("", true).isValid());
    EXPECT_EQ(errors.text(),
              "LoadOpTreeDescriptionFromFile(): Op tree file \"\" does not exist.\n"
              "LoadOpTreeDescriptionFromFile(): Op tree file \"\" does not exist.\n");
}

TEST_F(LoadOpTreeDescription, SaysOnStandardErrorThatThereIsNoAttributeSuite) {
    const std::string path = writeDescription("tree.attr");
    const ScopedAttributeSuite none(nullptr);
    EXPECT_FALSE(LoadOpTreeDescriptionFromFile(path, true).isValid());
    EXPECT_EQ(errors.text(), "LoadOpTreeDescriptionFromFile(): OxAttribute suite is null!\n");
}

TEST_F(LoadOpTreeDescription, MissesTheFileBeforeTheAttributeSuite) {
    const ScopedAttributeSuite none(nullptr);
    EXPECT_FALSE(LoadOpTreeDescriptionFromFile("/no such folder/tree.attr", true).isValid());
    EXPECT_EQ(errors.text(), "LoadOpTreeDescriptionFromFile(): Op tree file "
                             "\"/no such folder/tree.attr\" does not exist.\n");
}

TEST_F(LoadOpTreeDescription, SilentlyGivesNothingForAFileThatHoldsNoGroup) {
    OxAttribute::WriteAttributeFile(folder.path("text.attr"), Text("no group"));
    EXPECT_FALSE(LoadOpTreeDescriptionFromFile(folder.path("text.attr"), true).isValid());
    EXPECT_EQ(errors.text(), "");
}

TEST_F(LoadOpTreeDescription, SilentlyGivesNothingForAnEmptyFile) {
    EXPECT_FALSE(LoadOpTreeDescriptionFromFile(folder.write("empty", ""), true).isValid());
    EXPECT_EQ(errors.text(), "");
}

TEST_F(LoadOpTreeDescription, LetsThePlatformsErrorForADamagedFileThrough) {
    writeDescription("tree.attr");
    const std::string path = folder.write("cut.attr", folder.read("tree.attr").substr(0, 100));
    EXPECT_THROW(LoadOpTreeDescriptionFromFile(path, true), std::runtime_error);
    EXPECT_EQ(errors.text(), "");
}

TEST_F(LoadOpTreeDescription, LetsThePlatformsErrorForAFolderThrough) {
    EXPECT_THROW(LoadOpTreeDescriptionFromFile(folder.path(), true), std::runtime_error);
    EXPECT_EQ(errors.text(), "");
}

TEST_F(LoadOpTreeDescription, MakesNoDifferenceByTheFlagForAnyKindOfFile) {
    const auto outcome = [](const std::string& path, bool flag) {
        const CapturedErrors said;
        try {
            const GroupAttribute read = LoadOpTreeDescriptionFromFile(path, flag);
            return said.text() + (read.isValid() ? read.getXML() : "nothing");
        } catch (const std::exception& error) {
            return said.text() + "error: " + error.what();
        }
    };
    const std::string whole = writeDescription("tree.attr");
    OxAttribute::WriteAttributeFile(folder.path("text.attr"), Text("no group"));
    for (const std::string& path :
         {whole, writeDescription("packed.attr", true), folder.path("text.attr"),
          folder.write("cut.attr", folder.read("tree.attr").substr(0, 100)),
          folder.write("notes.txt", "This is no attribute."), folder.write("empty", ""),
          folder.path("missing"), folder.path(), std::string()})
        EXPECT_EQ(outcome(path, true), outcome(path, false)) << path;
}

TEST_F(LoadOpTreeDescription, ClosesTheFileWhetherItCouldBeReadOrNot) {
    const std::string good = writeDescription("tree.attr");
    const std::string cut = folder.write("cut.attr", folder.read("tree.attr").substr(0, 100));
    LoadOpTreeDescriptionFromFile(good, true);
    EXPECT_FALSE(IsOpen(good));
    EXPECT_THROW(LoadOpTreeDescriptionFromFile(cut, true), std::runtime_error);
    EXPECT_FALSE(IsOpen(cut));
}

} // namespace
