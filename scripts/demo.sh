#!/usr/bin/env bash
# A first look: builds the tellar command with its op types and shows what it does with the
# scenes in examples/.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh
cmake --preset release >/dev/null
cmake --build --preset release --target demo --parallel "$(nproc)"

tellar() {
    printf '\n$ tellar %s\n' "$*"
    build/release/bin/tellar "$@"
}
# The same for commands that end with the status 1 when they have found something.
finds() { tellar "$@" || (($? == 1)); }
heading() { printf '\n== %s\n' "$*"; }

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

heading "The op types that scenes are built from; each is a plug-in"
tellar ops

heading "A scene of a few ops over a glTF file, as the tree of locations a renderer walks"
tellar walk examples/garden.json --depth 3

heading "One location: its own attributes, and its transform composed from the root"
tellar walk examples/garden.json --at /root/world/garden/windmill/sails --depth 0 --attrs --xform

heading "What the picture is taken with, as a renderer is told"
tellar camera examples/garden.json

heading "Whether it is sound: what cannot be drawn, and what has no effect"
tellar check examples/garden.json

heading "A material of several: its own surface on the displacement that it inherits"
tellar material examples/materials.json --at /root/world/gallery/fresco

heading "More than a million locations from one array op, each made when it is visited"
tellar walk examples/million.json --stats --quiet

heading "The garden again, from a serialised op file"
tellar convert examples/garden.json "$scratch/garden.oxop"
tellar walk "$scratch/garden.oxop" --at /root/world/garden/pavilion --depth 1

heading "What the description changes in the model that it imports"
finds diff examples/garden.gltf examples/garden.json --attrs xform --attrs materialAssign --attrs light

heading "Where a value comes from, and why something is not there"
tellar why examples/garden.json --at /root/world/garden/trees/oak_1/crown/leafy_crown \
    --attr materialAssign
finds why examples/garden.json --at /root/world/garden/benches

heading "And its picture, by a renderer that sees the scene through the C suites alone"
tellar render examples/garden.json -o build/garden.png --resolution pal_square --samples 24 \
    --capture "$scratch/garden.oxcap"

heading "The same picture from what was told to the renderer, without the scene"
tellar replay "$scratch/garden.oxcap" -o build/garden-again.png
