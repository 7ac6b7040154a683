#include "drawing/SmallTiles.h"

#include <atomic>

#include <OpenImageIO/imageio.h>

namespace lantern {
namespace {

// So many tiles are added before one might still be there. They are in one row.
constexpr int kTiles = 1 << 16;

/// An image of black tiles of one texel each.
class SmallTilesInput : public OIIO::ImageInput {
public:
    const char* format_name() const override { return "small tiles"; }
    int supports(OIIO::string_view) const override { return 0; }
    bool open(const std::string&, OIIO::ImageSpec& spec) override {
        m_spec = OIIO::ImageSpec(kTiles, 1, 1, OIIO::TypeDesc::UINT8);
        m_spec.tile_width = m_spec.tile_height = m_spec.tile_depth = 1;
        spec = m_spec;
        return true;
    }
    bool open(const std::string& name, OIIO::ImageSpec& spec, const OIIO::ImageSpec&) override {
        return open(name, spec);
    }
    bool close() override { return true; }
    bool seek_subimage(int subimage, int level) override { return subimage == 0 && level == 0; }
    bool read_native_scanline(int, int, int, int, void*) override { return false; }
    bool read_native_tile(int, int, int, int, int, void* data) override {
        *static_cast<unsigned char*>(data) = 0;
        return true;
    }
};

} // namespace

void AddSmallTile(OIIO::ImageCache& cache) {
    static std::atomic<unsigned> next{0};
    const OIIO::ustring name("lantern: small tiles");
    cache.add_file(name, []() -> OIIO::ImageInput* { return new SmallTilesInput; });
    OIIO::ImageCache::ImageHandle* const handle = cache.get_image_handle(name);
    if (!handle) return;
    const auto x = static_cast<int>(next.fetch_add(1, std::memory_order_relaxed) % kTiles);
    if (auto* const tile = cache.get_tile(handle, nullptr, 0, 0, x, 0, 0)) cache.release_tile(tile);
}

} // namespace lantern
