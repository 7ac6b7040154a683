#ifndef TELLAR_BENCH_RENDERSCENES_H
#define TELLAR_BENCH_RENDERSCENES_H

#include "SceneData.h"

namespace TellarBench {

// The scenes that are rendered, as the renderer lantern reads them.

/// The scene of examples/garden.json.
lantern::SceneData ReadGarden();

/// The scene of DescribeForest() with the number of leaves of the options, seen by a camera of the
/// garden.
lantern::SceneData ReadForest(int threads);

/// One mesh under a sky, with two triangles for each leaf of the options, two million at most.
lantern::SceneData MakeDenseMesh();

} // namespace TellarBench

#endif
