#ifndef SCENEIMPORT_TINYGLTF_H
#define SCENEIMPORT_TINYGLTF_H

// tinygltf as this module uses it. All files include it through this header, because its classes
// depend on these definitions.
//
// TinyGltf.cpp compiles the library into this module. The shared library cannot be used: libdraco,
// which Assimp loads, exports the same functions of another version with other classes, and the
// dynamic linker would take those.

// No file access and no image decoder: Document opens what may be opened.
#define TINYGLTF_NO_FS
#define TINYGLTF_NO_EXTERNAL_IMAGE
#define TINYGLTF_NO_STB_IMAGE
#define TINYGLTF_NO_STB_IMAGE_WRITE
// RapidJSON with this allocator keeps no state between calls, so that threads may parse at once.
#define TINYGLTF_USE_RAPIDJSON
#define TINYGLTF_USE_RAPIDJSON_CRTALLOCATOR

#include <tiny_gltf.h>

#endif
