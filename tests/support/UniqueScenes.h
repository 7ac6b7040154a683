#ifndef TELLAR_TEST_UNIQUESCENES_H
#define TELLAR_TEST_UNIQUESCENES_H

#include <OxTellarProducers/OpTreeSource.h>

#include "SceneBuilders.h"

/// Scenes that no other test has. The client factory and the stores of results remember scenes as
/// long as the process lives.
namespace TellarTest {

/// /root > world.
inline OxAttribute::GroupAttribute UniqueScene() {
    return Location({{"tag", Text(UniqueTag())}}, {{"world", Location({})}});
}

inline TELLAR::OpTreeSource UniqueSource() {
    return TELLAR::OpTreeSource::createFromGroupAttribute(SceneTree(UniqueScene()));
}

} // namespace TellarTest

#endif
