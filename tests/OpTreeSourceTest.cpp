#include <OxTellarProducers/OpTreeSource.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <type_traits>

#include <boost/functional/hash.hpp>
#include <boost/version.hpp>
#include <gtest/gtest.h>

#include "RunTogether.h"
#include "SceneBuilders.h"
#include "TempDirectory.h"
#include "VirtualSlot.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::AbstractOpTreeSource;
using TELLAR::OpTreeAttributeSource;
using TELLAR::OpTreeFileSource;
using TELLAR::OpTreeSource;

bool AreEquivalent(const OpTreeSource& a, const OpTreeSource& b) {
    return !(a < b) && !(b < a);
}

// Files -------------------------------------------------------------------------------------------

TEST(OpTreeFileSource, IsInvalidWithoutAName) {
    const OpTreeSource source = OpTreeSource::createFromFile("");
    std::string error = "left from an earlier call";
    EXPECT_FALSE(source.isValid(&error));
    EXPECT_EQ(error, "Empty filename provided.");
    EXPECT_EQ(source.describe(), "");
    EXPECT_EQ(OpTreeFileSource("").getHash(), 0u);
}

TEST(OpTreeFileSource, IsInvalidForAMissingFileAndNamesIt) {
    const OpTreeSource source = OpTreeSource::createFromFile("/no such folder/scene.oxop");
    std::string error = "left from an earlier call";
    EXPECT_FALSE(source.isValid(&error));
    EXPECT_EQ(error, "File \"/no such folder/scene.oxop\" does not exist.");
}

TEST(OpTreeFileSource, IsInvalidWithoutANameOrFileAlsoWhenNobodyWantsTheReason) {
    EXPECT_FALSE(OpTreeSource::createFromFile("").isValid(nullptr));
    EXPECT_FALSE(OpTreeSource::createFromFile("/no such folder/scene.oxop").isValid(nullptr));
}

TEST(OpTreeFileSource, IsValidForAFileOfAnyContentAndLeavesTheErrorTextAlone) {
    const TempDirectory folder;
    const OpTreeSource source = OpTreeSource::createFromFile(folder.write("scene.oxop", "junk"));
    std::string error = "left from an earlier call";
    EXPECT_TRUE(source.isValid(&error));
    EXPECT_EQ(error, "left from an earlier call");
    EXPECT_TRUE(source.isValid(nullptr));
}

TEST(OpTreeFileSource, IsValidForAFolder) {
    const TempDirectory folder;
    EXPECT_TRUE(OpTreeSource::createFromFile(folder.path()).isValid(nullptr));
}

TEST(OpTreeFileSource, IsValidForANamedPipe) {
    const TempDirectory folder;
    EXPECT_TRUE(OpTreeSource::createFromFile(folder.makePipe("pipe")).isValid(nullptr));
}

TEST(OpTreeFileSource, IsInvalidForALinkThatLeadsNowhere) {
    const TempDirectory folder;
    std::filesystem::create_symlink(folder.path("gone"), folder.path("link"));
    std::string error;
    EXPECT_FALSE(OpTreeSource::createFromFile(folder.path("link")).isValid(&error));
    EXPECT_EQ(error, "File \"" + folder.path("link") + "\" does not exist.");
}

TEST(OpTreeFileSource, LooksForTheFileOnEveryQuestion) {
    const TempDirectory folder;
    const OpTreeSource source = OpTreeSource::createFromFile(folder.path("later.oxop"));
    EXPECT_FALSE(source.isValid(nullptr));
    folder.write("later.oxop", "");
    EXPECT_TRUE(source.isValid(nullptr));
}

TEST(OpTreeFileSource, DescribesItselfByThePathAsTyped) {
    const std::string path = "./a/../b//$HOME/~/scene.oxop";
    EXPECT_EQ(OpTreeSource::createFromFile(path).describe(), path);
}

// The values below came from a transcription of the hash's rule into Python, with its integers
// reduced modulo 2^64 and bytes of 128 and above taken as the byte minus 256:
//     h = 0; m = 0xc6a4a7935bd1e995
//     for c: k = c * m; k ^= k >> 47; k *= m; h = (h ^ k) * m + 0xe6546b64
struct HashCase {
    const char* name;
    std::string path;
    std::uint64_t hash;
};

class FileNameHash : public testing::TestWithParam<HashCase> {};

TEST_P(FileNameHash, HasTheValueThatTheRuleGives) {
    EXPECT_EQ(OpTreeFileSource(GetParam().path).getHash(), GetParam().hash);
}

#if BOOST_VERSION < 108100
TEST_P(FileNameHash, IsTheRangeHashOfOlderBoostReleases) {
    const std::string& path = GetParam().path;
    EXPECT_EQ(OpTreeFileSource(path).getHash(), boost::hash_range(path.begin(), path.end()));
}
#endif

INSTANTIATE_TEST_SUITE_P(
    OpTreeFileSource, FileNameHash,
    testing::Values(HashCase{"Empty", "", 0}, HashCase{"OneLetter", "a", 0x3d38188654ef1dbf},
                    HashCase{"OneSlash", "/", 0x6889f4f05da86ea2},
                    HashCase{"OneZeroByte", std::string(1, '\0'), 0xe6546b64},
                    HashCase{"RelativePath", "scene.oxop", 0xc1abbcac19eb7e28},
                    HashCase{"SamePathFromThisFolder", "./scene.oxop", 0x92f7ebe51c1d41ec},
                    HashCase{"TwoBytesOfUtf8", "\xC3\xA9.oxop", 0xf2116a13abd6e249},
                    HashCase{"HighBytesThatAreNoText", "\xFF\x80\x7F", 0x74437853e9004ba4}),
    [](const auto& param) { return param.param.name; });

// Attributes --------------------------------------------------------------------------------------

TEST(OpTreeAttributeSource, IsInvalidWithoutADescription) {
    const OpTreeSource source = OpTreeSource::createFromGroupAttribute(GroupAttribute());
    std::string error = "left from an earlier call";
    EXPECT_FALSE(source.isValid(&error));
    EXPECT_EQ(error, "Invalid GroupAttribute provided.");
    EXPECT_FALSE(source.isValid(nullptr));
    EXPECT_EQ(source.describe(), "GroupAttribute");
}

TEST(OpTreeAttributeSource, IsValidForAnEmptyGroupAndLeavesTheErrorTextAlone) {
    const OpTreeSource source = OpTreeSource::createFromGroupAttribute(GroupAttribute(true));
    std::string error = "left from an earlier call";
    EXPECT_TRUE(source.isValid(&error));
    EXPECT_EQ(error, "left from an earlier call");
    EXPECT_TRUE(source.isValid(nullptr));
}

TEST(OpTreeAttributeSource, IsDescribedByTheSameTextWhateverIsInIt) {
    const GroupAttribute description = SceneTree(Location({{"name", Text("anything")}}));
    EXPECT_EQ(OpTreeSource::createFromGroupAttribute(description).describe(), "GroupAttribute");
}

TEST(OpTreeAttributeSource, HasTheFirstWordOfTheDescriptionsHash) {
    const GroupAttribute description = SceneTree(Location({{"name", Text("hashed")}}));
    EXPECT_EQ(OpTreeAttributeSource(description).getHash(), description.getHash().words[0]);
    EXPECT_NE(OpTreeAttributeSource(description).getHash(), description.getHash().words[1]);
}

TEST(OpTreeAttributeSource, HasEqualHashesForEqualDescriptionsOnly) {
    const auto hashOf = [](const char* name) {
        return OpTreeAttributeSource(SceneTree(Location({{"name", Text(name)}}))).getHash();
    };
    EXPECT_EQ(hashOf("one"), hashOf("one"));
    EXPECT_NE(hashOf("one"), hashOf("other"));
}

TEST(OpTreeAttributeSource, KeepsItsDescriptionAfterTheCallersIsGone) {
    std::optional<GroupAttribute> description = SceneTree(Location({}));
    const OpTreeSource source = OpTreeSource::createFromGroupAttribute(*description);
    description.reset();
    EXPECT_TRUE(source.isValid(nullptr));
}

// All sources -------------------------------------------------------------------------------------

TEST(OpTreeAttributeSource, GivesItsOpsTheirPlaces) {
    const GroupAttribute description =
        Group({{"a", OpEntry("StaticScene")}, {"b", OpEntry("Prune", {}, {"a"})}});
    const auto source =
        OpTreeSource::createFromGroupAttribute(description, {{"a", "x.json:2:5"}, {"c", "other"}});
    const auto runtime = TellarRuntime::create();
    const auto transaction = runtime->createTransaction();
    const auto last = source.getOp(transaction);
    EXPECT_EQ(last->getPlace(), "");
    ASSERT_EQ(last->getInputs().size(), 1u);
    EXPECT_EQ(last->getInputs().front()->getPlace(), "x.json:2:5");
}

TEST(OpTreeAttributeSource, WithOtherPlacesIsAnotherSource) {
    const GroupAttribute description = SceneTree(Location({{"name", Text("placed")}}));
    const auto hashOf = [&description](const TELLAR::OpPlaces& places) {
        return OpTreeAttributeSource(description, places).getHash();
    };
    EXPECT_EQ(hashOf({}), OpTreeAttributeSource(description).getHash());
    EXPECT_NE(hashOf({{"scene", "a.json:1:1"}}), hashOf({}));
    EXPECT_NE(hashOf({{"scene", "a.json:1:1"}}), hashOf({{"scene", "b.json:1:1"}}));
    EXPECT_EQ(hashOf({{"scene", "a.json:1:1"}, {"x", "y"}}),
              hashOf({{"x", "y"}, {"scene", "a.json:1:1"}}));
}

/// A source that is nothing but its hash.
class BareSource : public AbstractOpTreeSource {
public:
    explicit BareSource(std::uint64_t hash) : AbstractOpTreeSource(hash) {}
    bool isValid(std::string*) const override { return false; }
    std::shared_ptr<TellarRuntime::Op>
    getOp(const std::shared_ptr<TellarRuntime::Transaction>&) const override {
        return nullptr;
    }
    std::string describe() const override { return "bare"; }
};

TEST(AbstractOpTreeSource, KeepsTheHashItWasMadeWithAlsoInACopy) {
    const BareSource source(0xfedcba9876543210);
    const BareSource copy(source);
    EXPECT_EQ(source.getHash(), 0xfedcba9876543210);
    EXPECT_EQ(copy.getHash(), 0xfedcba9876543210);

    const OpTreeFileSource file("a");
    const OpTreeFileSource copyOfFile(file);
    EXPECT_EQ(copyOfFile.getHash(), 0x3d38188654ef1dbf);
    EXPECT_EQ(copyOfFile.describe(), "a");
}

TEST(AbstractOpTreeSource, IsMadeByDerivedClassesAndDeletedThroughTheBase) {
    static_assert(!std::is_constructible_v<AbstractOpTreeSource, std::uint64_t>);
    static_assert(std::has_virtual_destructor_v<AbstractOpTreeSource>);
    const std::unique_ptr<AbstractOpTreeSource> source = std::make_unique<OpTreeFileSource>("a");
    EXPECT_EQ(source->describe(), "a");
}

#if defined(TELLAR_TEST_HAS_VIRTUAL_SLOTS)
TEST(AbstractOpTreeSource, HasItsVirtualFunctionsInTheOrderThatProgramsWereCompiledFor) {
    EXPECT_EQ(VirtualSlot(&AbstractOpTreeSource::isValid), 1);
    EXPECT_EQ(VirtualSlot(&AbstractOpTreeSource::getOp), 2);
    EXPECT_EQ(VirtualSlot(&AbstractOpTreeSource::describe), 3);
    EXPECT_LT(VirtualSlot(&AbstractOpTreeSource::getHash), 0) << "it must not be virtual";
}
#endif

// Handles -----------------------------------------------------------------------------------------

TEST(OpTreeSource, ComesFromItsTwoFactoryFunctionsAndFromOtherHandlesOnly) {
    static_assert(!std::is_constructible_v<OpTreeSource, AbstractOpTreeSource*>);
    static_assert(!std::is_default_constructible_v<OpTreeSource>);
    static_assert(std::is_copy_constructible_v<OpTreeSource>);
    static_assert(std::is_copy_assignable_v<OpTreeSource>);
    static_assert(!std::is_polymorphic_v<OpTreeSource>);
}

TEST(OpTreeSource, IsEquivalentToAnotherOneOfTheSamePath) {
    const OpTreeSource first = OpTreeSource::createFromFile("scene.oxop");
    const OpTreeSource second = OpTreeSource::createFromFile("scene.oxop");
    EXPECT_FALSE(first < second);
    EXPECT_FALSE(second < first);
}

TEST(OpTreeSource, IsEquivalentToAnotherOneOfAnEqualDescription) {
    const auto create = [] {
        return OpTreeSource::createFromGroupAttribute(SceneTree(Location({{"n", Int(7)}})));
    };
    EXPECT_TRUE(AreEquivalent(create(), create()));
}

TEST(OpTreeSource, IsEquivalentToItsCopies) {
    const OpTreeSource original = OpTreeSource::createFromFile("scene.oxop");
    const OpTreeSource copy(original);
    EXPECT_TRUE(AreEquivalent(original, copy));
    EXPECT_EQ(copy.describe(), "scene.oxop");
}

TEST(OpTreeSource, TellsPathsApartThatLeadToTheSameFile) {
    EXPECT_FALSE(AreEquivalent(OpTreeSource::createFromFile("scene.oxop"),
                               OpTreeSource::createFromFile("./scene.oxop")));
}

TEST(OpTreeSource, IsOrderedByHashesAsUnsignedNumbers) {
    const OpTreeSource low = OpTreeSource::createFromFile("a");           // 0x3d38...
    const OpTreeSource high = OpTreeSource::createFromFile("scene.oxop"); // 0xc1ab...
    EXPECT_TRUE(low < high);
    EXPECT_FALSE(high < low);
}

TEST(OpTreeSource, IsAKeyOfOrderedContainers) {
    std::map<OpTreeSource, int> numbers;
    numbers.emplace(OpTreeSource::createFromFile("a"), 1);
    numbers.emplace(OpTreeSource::createFromFile("b"), 2);
    numbers.emplace(OpTreeSource::createFromFile("a"), 3);
    EXPECT_EQ(numbers.size(), 2u);
    EXPECT_EQ(numbers.at(OpTreeSource::createFromFile("a")), 1);
    EXPECT_EQ(numbers.at(OpTreeSource::createFromFile("b")), 2);
}

TEST(OpTreeSource, BecomesTheOtherHandlesSourceOnAssignment) {
    OpTreeSource source = OpTreeSource::createFromFile("a");
    const OpTreeSource other = OpTreeSource::createFromFile("b");
    source = other;
    EXPECT_EQ(source.describe(), "b");
    EXPECT_TRUE(AreEquivalent(source, other));
}

TEST(OpTreeSource, KeepsItsSourceWhenAssignedToItself) {
    OpTreeSource source = OpTreeSource::createFromFile("a");
    const OpTreeSource& itself = source;
    source = itself;
    EXPECT_EQ(source.describe(), "a");
    EXPECT_TRUE(AreEquivalent(source, OpTreeSource::createFromFile("a")));
}

TEST(OpTreeSource, OutlivesTheHandleThatItWasCopiedFrom) {
    std::optional<OpTreeSource> original = OpTreeSource::createFromFile("a");
    const OpTreeSource copy = *original;
    original.reset();
    EXPECT_EQ(copy.describe(), "a");
}

TEST(OpTreeSource, MayBeCopiedAndDroppedByManyThreadsAtOnce) {
    std::optional<OpTreeSource> original =
        OpTreeSource::createFromGroupAttribute(SceneTree(Location({})));
    const OpTreeSource other = OpTreeSource::createFromFile("other");
    RunTogether(8, [copy = *original, &other](int) {
        for (int i = 0; i < 1000; ++i) {
            OpTreeSource mine = copy;
            mine = other;
            mine = copy;
            EXPECT_EQ(mine.describe(), "GroupAttribute");
        }
    });
    EXPECT_TRUE(original->isValid(nullptr));
}

} // namespace
