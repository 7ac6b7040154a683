#include <OxTellarProducers/ProceduralArguments.h>

#include <locale>
#include <string>

#include <gmock/gmock.h>

#include "DrawnArguments.h"
#include "ProceduralFixture.h"

namespace {

using namespace TellarTest;
using OxAttribute::DoubleAttribute;
using OxAttribute::FloatAttribute;
using OxAttribute::IntAttribute;
using OxAttribute::StringAttribute;
using TELLAR::BuildClassicProceduralArgumentsString;
using testing::ElementsAre;
using testing::IsEmpty;

using ClassicArguments = Procedural;

TEST_F(ClassicArguments, WithoutArgumentsAreTheContextAlone) {
    EXPECT_EQ(classicArgs({}), kDefaultEnd);
    EXPECT_EQ(classic(Group({})), kDefaultEnd);
    EXPECT_EQ(classic({}), kDefaultEnd);
}

TEST_F(ClassicArguments, EndWithTheContext) {
    context.frame = -3;
    context.shutterOpen = -0.25f;
    context.shutterClose = 0.5f;
    context.cropWindow[0] = 0.125f;
    EXPECT_EQ(classicArgs({}), " -frame -3 -shutter -0.25 0.5 -cropwindow 0.125 1 0 1");
}

TEST_F(ClassicArguments, WriteNumbersOfEveryTypeInStreamFormat) {
    EXPECT_EQ(classicArgs({{"count", IntAttribute({3, -4}, 2)},
                           {"width", FloatAttribute(0.1f)},
                           {"size", DoubleAttribute({1234567.0, 1e-7, 2.5}, 3)}}),
              std::string(" -count 3 -4 -width 0.1 -size 1.23457e+06 1e-07 2.5") + kDefaultEnd);
}

TEST_F(ClassicArguments, TakeTheSampleNearestToTheFrame) {
    EXPECT_EQ(
        classicArgs({{"x", FloatAttribute(Sampled<float>({5}, {6}, {7}), 1)},
                     {"y", StringAttribute(Sampled<std::string>({"a"}, {"b"}, {"c"}), 1)},
                     {"extraArgs", StringAttribute(Sampled<std::string>({"d"}, {"e"}, {"f"}), 1)}}),
        std::string(" -x 6 -y b e ") + kDefaultEnd);
}

TEST_F(ClassicArguments, WriteOneTextBareAndSeveralInQuotes) {
    EXPECT_EQ(classicArgs({{"size", Text("a")}}), std::string(" -size a") + kDefaultEnd);
    EXPECT_EQ(classicArgs({{"size", Texts({"a", "b"})}}),
              std::string(" -size 'a b'") + kDefaultEnd);
}

TEST_F(ClassicArguments, LeaveOutWhatHasNoValuesOrNoPlaceOnACommandLine) {
    EXPECT_EQ(classicArgs({{"none", IntAttribute({}, 1)},
                           {"noneEither", Texts({})},
                           {"extraArgsNone", Texts({})},
                           {"null", OxAttribute::NullAttribute()},
                           {"group", Group({{"inner", Int(1)}})}}),
              kDefaultEnd);
}

TEST_F(ClassicArguments, WriteExtraArgumentsWithoutAFlagBetweenBlanks) {
    EXPECT_EQ(classicArgs({{"extraArgs", Text("-fast -v 2")},
                           {"extraArgsToo", Texts({"-x", "y"})},
                           {"ExtraArgs", Text("z")}}),
              std::string(" -fast -v 2  -x  -ExtraArgs z") + kDefaultEnd);
}

TEST_F(ClassicArguments, OfExtraArgumentsThatAreNumbersAreAsUsual) {
    EXPECT_EQ(classicArgs({{"extraArgsCount", Int(2)}}),
              std::string(" -extraArgsCount 2") + kDefaultEnd);
}

TEST_F(ClassicArguments, OfTheSystemFollowThoseOfTheUser) {
    EXPECT_EQ(classic(Group({{"systemArgs", Group({{"threads", Int(2)}, {"a", Int(3)}})},
                             {"args", Group({{"a", Int(1)}})}})),
              std::string(" -a 1 -threads 2 -a 3") + kDefaultEnd);
}

TEST_F(ClassicArguments, AreResolvedAsAssetsAtTheFrame) {
    context.frame = 12;
    EXPECT_EQ(classicArgs({{"file", Text("asset:one")},
                           {"files", Texts({"asset:one", "two"})},
                           {"extraArgs", Text("asset:three")}}),
              " -file /assets/one.12! -files '/assets/one.12! two' /assets/three.12!  -frame 12 "
              "-shutter 0 0 -cropwindow 0 1 0 1");
    EXPECT_THAT(told.messages, IsEmpty());
}

TEST_F(ClassicArguments, ThatCannotBeResolvedAreWrittenAsTheyAreAndTold) {
    EXPECT_EQ(classicArgs({{"file", Text("bad one")},
                           {"files", Texts({"asset:a", "bad two"})},
                           {"extraArgs", Text("bad three")}}),
              std::string(" -file bad one -files '/assets/a.1! bad two' bad three ") + kDefaultEnd);
    EXPECT_THAT(told.messages,
                ElementsAre("asset resolve failed on  'bad one' when building an procedural call.",
                            "asset resolve failed on  'bad two' when building an procedural call.",
                            "asset resolve failed on 'bad three' when building an procedural."));
    EXPECT_THAT(told.producers, ElementsAre(geo, geo, geo));
}

TEST_F(ClassicArguments, ThatCannotBeResolvedNeedNobodyWhoIsTold) {
    EXPECT_EQ(BuildClassicProceduralArgumentsString(
                  geo, context, Group({{"args", Group({{"file", Text("bad")}})}}), nullptr),
              std::string(" -file bad") + kDefaultEnd);
}

TEST_F(ClassicArguments, AreNoneWhereTheyAreNoGroup) {
    const auto one = Group({{"a", Int(1)}});
    EXPECT_EQ(classic(Group({{"args", one}, {"systemArgs", Int(2)}})),
              std::string(" -a 1") + kDefaultEnd);
    EXPECT_EQ(classic(Group({{"args", Text("a")}, {"systemArgs", one}})),
              std::string(" -a 1") + kDefaultEnd);
    EXPECT_EQ(classic(Group({{"args", Text("a")}, {"systemArgs", Text("b")}})), kDefaultEnd);
}

TEST_F(ClassicArguments, OfANullProducerHaveNoCamera) {
    EXPECT_EQ(BuildClassicProceduralArgumentsString(nullptr, context,
                                                    WantingCamera("As Parameters"), Tell),
              kDefaultEnd);
}

/// Commas for points, and points between thousands.
class CommaNumbers : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST_F(ClassicArguments, AreTheSameInEveryLocale) {
    const std::locale previous =
        std::locale::global(std::locale(std::locale::classic(), new CommaNumbers));
    const std::string text = classicArgs({{"big", Int(1234567)}, {"half", FloatAttribute(0.5f)}});
    std::locale::global(previous);
    EXPECT_EQ(text, std::string(" -big 1234567 -half 0.5") + kDefaultEnd);
}

} // namespace
