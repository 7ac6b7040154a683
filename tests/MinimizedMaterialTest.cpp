#include <OxTellarProducers/MaterialFlattening.h>

#include <gmock/gmock.h>

#include "MaterialGroups.h"
#include "SceneBuilders.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::MinimizeResolvedMaterialAttr;
using testing::ElementsAre;

TEST(MinimizedMaterial, OfAnyOtherStyleIsTheSame) {
    for (const GroupAttribute& material : {Group({{"style", Text("Network")}, {"extra", Int(1)}}),
                                           Legacy("surface", "matte"), Group({}), GroupAttribute()})
        EXPECT_EQ(MinimizeResolvedMaterialAttr(material).getHandle(), material.getHandle());
}

TEST(MinimizedMaterial, KeepsWhatNetworksAreReadFromInItsOrder) {
    const auto material =
        Group({{"terminals", Text("any attribute")},
               {"extra", Int(1)},
               {"interface", Group({{"diffuse", Group({{"src", Text("n.Kd")}, {"hint", Int(1)}})},
                                    {"unused", Group({{"src", Text("n.Ks")}})}})},
               {"parameters", Group({{"diffuse", Int(7)}, {"lost", Int(8)}})},
               {"nodes", Group({{"n", Node("n")}})},
               {"style", Text("network")}});
    EXPECT_EQ(MinimizeResolvedMaterialAttr(material),
              Closed({{"style", Text("network")},
                      {"nodes", Group({{"n", Node("n")}})},
                      {"parameters", Group({{"diffuse", Int(7)}, {"lost", Int(8)}})},
                      {"interface", Closed({{"diffuse", Closed({{"src", Text("n.Kd")}})}})},
                      {"terminals", Text("any attribute")}}));
}

TEST(MinimizedMaterial, WithoutParametersLosesItsInterface) {
    const auto interface = Group({{"diffuse", Group({{"src", Text("n.Kd")}})}});
    EXPECT_EQ(
        MinimizeResolvedMaterialAttr(Group({{"style", Text("network")}, {"interface", interface}})),
        Closed({{"style", Text("network")}}));
}

TEST(MinimizedMaterial, HasItsInterfaceInTheOrderOfItsParameters) {
    const auto entry = Group({{"src", Text("n.Kd")}});
    const auto material =
        Group({{"style", Text("network")},
               {"parameters", Group({{"c", Int(1)}, {"a", Int(2)}, {"b", Int(3)}})},
               {"interface", Group({{"a", entry}, {"b", entry}, {"c", entry}})}});
    EXPECT_THAT(NamesIn(MinimizeResolvedMaterialAttr(material), "interface"),
                ElementsAre("c", "a", "b"));
}

TEST(MinimizedMaterial, LosesNodesAndParametersThatAreNoGroups) {
    const auto material = Group({{"style", Text("network")},
                                 {"nodes", Text("n")},
                                 {"parameters", Int(1)},
                                 {"interface", Group({{"a", Group({{"src", Text("n.Kd")}})}})},
                                 {"terminals", Int(3)}});
    EXPECT_EQ(MinimizeResolvedMaterialAttr(material),
              Closed({{"style", Text("network")}, {"terminals", Int(3)}}));
}

TEST(MinimizedMaterial, HasNoInterfaceWhenNoEntryHasASource) {
    const auto parameters = Group({{"a", Int(1)}, {"b", Int(2)}});
    const auto interface = Group({{"a", Group({})}, {"b", Text("n.Kd")}, {"c", Group({})}});
    EXPECT_THAT(
        NamesOf(MinimizeResolvedMaterialAttr(Group(
            {{"style", Text("network")}, {"parameters", parameters}, {"interface", interface}}))),
        ElementsAre("style", "parameters"));
}

TEST(MinimizedMaterial, KeepsASourceOfAnyType) {
    const auto material = Group({{"style", Text("network")},
                                 {"parameters", Group({{"a", Int(1)}})},
                                 {"interface", Group({{"a", Group({{"src", Int(3)}})}})}});
    EXPECT_EQ(IntOf(MinimizeResolvedMaterialAttr(material).getChildByName("interface.a.src")), 3);
}

TEST(MinimizedMaterial, IsTheSameMinimizedAgain) {
    const auto once = MinimizeResolvedMaterialAttr(
        Network("n", {"surface"},
                {{"parameters", Group({{"a", Int(1)}})},
                 {"interface", Group({{"a", Group({{"src", Text("n.Kd")}, {"x", Int(1)}})}})}}));
    EXPECT_EQ(MinimizeResolvedMaterialAttr(once), once);
}

} // namespace
