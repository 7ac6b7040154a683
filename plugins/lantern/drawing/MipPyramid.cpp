#include "drawing/MipPyramid.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include <Imath/half.h>
#include <OpenImageIO/imageio.h>

#include "drawing/ToneCurve.h"

namespace lantern {
namespace {

using OIIO::ImageInput;
using OIIO::ImageSpec;
using OIIO::TypeDesc;

constexpr std::int64_t kMostTexels = std::int64_t(1) << 24; // limit for one level
constexpr int kRowsAtOnce = 64;
// The names of pyramids in the cache: one of these and the name of the file.
const char* const kSrgbPrefix = "mipmaps, sRGB: ";
const char* const kLinearPrefix = "mipmaps: ";

/// A level while it is made, as floats in linear light.
struct Level {
    Level(int width, int height, int channels)
        : width(width), height(height), channels(channels),
          values(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                 static_cast<std::size_t>(channels)) {}

    float* row(int y) {
        return &values[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) *
                       static_cast<std::size_t>(channels)];
    }

    int width, height, channels;
    std::vector<float> values;
};

/// Adds one row of a finer level to each texel of `level` that it covers, in proportion to the
/// area.
class RowAdder {
public:
    RowAdder(Level& level, int fineWidth, int fineHeight)
        : level(level), fineWidth(fineWidth), fineHeight(fineHeight) {}

    void add(const float* fine, int y) {
        const double scale = double(level.height) / fineHeight;
        forEachPart(y * scale, (y + 1) * scale, level.height, [&](int coarseY, double share) {
            addTo(level.row(coarseY), fine, static_cast<float>(share));
        });
    }

private:
    void addTo(float* coarse, const float* fine, float rowShare) {
        const double scale = double(level.width) / fineWidth;
        for (int x = 0; x < fineWidth; ++x, fine += level.channels)
            forEachPart(x * scale, (x + 1) * scale, level.width, [&](int coarseX, double share) {
                float* const texel = coarse + static_cast<std::ptrdiff_t>(coarseX) * level.channels;
                const float weight = rowShare * static_cast<float>(share);
                for (int c = 0; c < level.channels; ++c)
                    texel[c] += fine[c] * weight;
            });
    }

    /// Calls the function for each texel of a row or column that [from, to) overlaps, with the
    /// length of the overlap.
    template <typename Add>
    static void forEachPart(double from, double to, int size, Add add) {
        for (int i = static_cast<int>(from); i < size && i < to; ++i) {
            const double overlap = std::min(to, i + 1.0) - std::max(from, double(i));
            if (overlap > 1e-9) add(i, overlap);
        }
    }

    Level& level;
    const int fineWidth, fineHeight;
};

/// The rows of a file from the top, as floats in linear light.
class FileRows {
public:
    FileRows(ImageInput& file, bool isSrgb) : file(file), spec(file.spec()), isSrgb(isSrgb) {}

    /// Calls the function for each row. Returns false if the file cannot be read.
    template <typename Use>
    bool forEach(Use use) const {
        const int step = spec.tile_width > 0 ? spec.tile_height : kRowsAtOnce;
        const std::size_t rowSize =
            static_cast<std::size_t>(spec.width) * static_cast<std::size_t>(spec.nchannels);
        std::vector<float> rows(rowSize * static_cast<std::size_t>(std::min(step, spec.height)));
        for (int y = 0; y < spec.height; y += step) {
            const int end = std::min(y + step, spec.height);
            if (!read(y, end, rows.data())) return false;
            for (int k = y; k < end; ++k) {
                float* const row = &rows[static_cast<std::size_t>(k - y) * rowSize];
                if (isSrgb) linearize(row);
                use(row, k);
            }
        }
        return true;
    }

private:
    bool read(int y, int end, float* rows) const {
        const int top = spec.y + y, bottom = spec.y + end;
        if (spec.tile_width > 0)
            return file.read_tiles(0, 0, spec.x, spec.x + spec.width, top, bottom, spec.z,
                                   spec.z + 1, 0, spec.nchannels, TypeDesc::FLOAT, rows);
        return file.read_scanlines(0, 0, top, bottom, spec.z, 0, spec.nchannels, TypeDesc::FLOAT,
                                   rows);
    }

    void linearize(float* texel) const {
        const int colors = spec.nchannels < 3 ? 1 : 3; // the rest is alpha
        for (int x = 0; x < spec.width; ++x, texel += spec.nchannels)
            for (int c = 0; c < colors; ++c)
                texel[c] = LinearFromSrgb(texel[c]);
    }

    ImageInput& file;
    const ImageSpec& spec;
    const bool isSrgb;
};

/// Half floats have no larger numbers. NaN becomes 0.
Imath::half ToHalf(float value) {
    constexpr float kLargest = 65504;
    return Imath::half(std::isnan(value) ? 0 : std::clamp(value, -kLargest, kLargest));
}

/// The packed image of all levels of a file, as a reader of images for the cache.
class MipInput : public ImageInput {
public:
    const char* format_name() const override { return "mip pyramid"; }
    int supports(OIIO::string_view) const override { return 0; }

    bool open(const std::string& name, ImageSpec& spec) override {
        isSrgb = name.compare(0, std::strlen(kSrgbPrefix), kSrgbPrefix) == 0;
        file = name.substr(std::strlen(isSrgb ? kSrgbPrefix : kLinearPrefix));
        const auto input = openFile();
        if (!input) return false;
        const ImageSpec& ofFile = input->spec();
        places = MipPlaces(ofFile.width, ofFile.height);
        if (places.empty() || ofFile.nchannels < 1 || ofFile.depth > 1) return false;
        int width = 0, height = 0;
        for (const MipPlace& place : places) {
            width = std::max(width, place.x + place.width);
            height = std::max(height, place.y + place.height);
        }
        m_spec = ImageSpec(width, height, ofFile.nchannels, TypeDesc::HALF);
        m_spec.tile_width = width;
        m_spec.tile_height = height;
        m_spec.tile_depth = 1;
        spec = m_spec;
        return true;
    }
    bool open(const std::string& name, ImageSpec& spec, const ImageSpec&) override {
        return open(name, spec);
    }
    bool close() override { return true; }
    bool seek_subimage(int subimage, int level) override { return subimage == 0 && level == 0; }
    bool read_native_scanline(int, int, int, int, void*) override { return false; }
    bool read_native_tile(int subimage, int level, int, int, int, void* data) override {
        if (subimage != 0 || level != 0) return false;
        std::memset(data, 0, m_spec.image_bytes());
        return make(static_cast<Imath::half*>(data));
    }

private:
    std::unique_ptr<ImageInput> openFile() const {
        ImageSpec hints;
        hints.attribute("oiio:UnassociatedAlpha", 1);
        return ImageInput::open(file, &hints);
    }

    bool make(Imath::half* out) const {
        const auto input = openFile();
        if (!input || input->spec().nchannels != m_spec.nchannels ||
            MipPlaces(input->spec().width, input->spec().height) != places)
            return false; // the file has changed
        Level level(places[0].width, places[0].height, m_spec.nchannels);
        RowAdder first(level, input->spec().width, input->spec().height);
        const auto add = [&](const float* row, int y) { first.add(row, y); };
        if (!FileRows(*input, isSrgb).forEach(add)) return false;
        write(level, places[0], out);
        for (std::size_t i = 1; i < places.size(); ++i) {
            Level next(places[i].width, places[i].height, m_spec.nchannels);
            RowAdder adder(next, level.width, level.height);
            for (int y = 0; y < level.height; ++y)
                adder.add(level.row(y), y);
            level = std::move(next);
            write(level, places[i], out);
        }
        return true;
    }

    void write(Level& level, const MipPlace& place, Imath::half* out) const {
        const auto channels = static_cast<std::size_t>(m_spec.nchannels);
        for (int y = 0; y < level.height; ++y) {
            const auto first =
                static_cast<std::size_t>(place.y + y) * static_cast<std::size_t>(m_spec.width) +
                static_cast<std::size_t>(place.x);
            const std::size_t count = static_cast<std::size_t>(level.width) * channels;
            std::transform(level.row(y), level.row(y) + count, out + first * channels, ToHalf);
        }
    }

    std::string file;
    bool isSrgb = false;
    std::vector<MipPlace> places;
};

} // namespace

std::vector<MipPlace> MipPlaces(int width, int height) {
    std::vector<MipPlace> places;
    MipPlace next;
    for (int level = 1; width > 1 || height > 1; ++level) {
        width = std::max(width / 2, 1);
        height = std::max(height / 2, 1);
        if (std::int64_t(width) * height > kMostTexels) continue;
        next.level = level;
        next.width = width;
        next.height = height;
        if (places.size() == 1) {
            next.x = places[0].width;
            next.y = 0;
        }
        places.push_back(next);
        next.y += height;
    }
    return places;
}

OIIO::ImageCache::ImageHandle* AddMipPyramid(OIIO::ImageCache& cache, const std::string& file,
                                             bool isSrgb) {
    const OIIO::ustring name(std::string(isSrgb ? kSrgbPrefix : kLinearPrefix) + file);
    cache.add_file(name, []() -> ImageInput* { return new MipInput; });
    OIIO::ImageCache::ImageHandle* const handle = cache.get_image_handle(name);
    return handle && cache.good(handle) ? handle : nullptr;
}

} // namespace lantern
