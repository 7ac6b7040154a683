#include "BuiltInResolutions.h"

namespace {

struct Row {
    const char* name;
    int width;
    int height;
    double pixelAspect = 1;
};

// Pixels of standard definition have the aspect that makes the whole picture 4:3, or 16:9 of the
// wide formats. Scans of 35 mm film have 4096 pixels across the full aperture (4k) or half as many
// (2k); VistaVision, half as wide again, has 6144 or 3072. docs/resolutions.md has the same table.
constexpr Row kRows[] = {
    // Textures and tests.
    {"square_256", 256, 256},
    {"square_512", 512, 512},
    {"square_1024", 1024, 1024},
    {"square_2048", 2048, 2048},
    {"square_4096", 4096, 4096},
    {"square_8192", 8192, 8192},

    // Broadcast, standard definition.
    {"ntsc_square", 640, 480},
    {"ntsc_d1", 720, 486, 9.0 / 10},
    {"ntsc_d1_wide", 720, 486, 6.0 / 5},
    {"ntsc_dv", 720, 480, 8.0 / 9},
    {"ntsc_dv_wide", 720, 480, 32.0 / 27},
    {"pal_square", 768, 576},
    {"pal_d1", 720, 576, 16.0 / 15},
    {"pal_d1_wide", 720, 576, 64.0 / 45},

    // Broadcast and displays, high definition and above.
    {"hd_540", 960, 540},
    {"hd_720", 1280, 720},
    {"hdv_1080", 1440, 1080, 4.0 / 3},
    {"hd_1080", 1920, 1080},
    {"qhd_1440", 2560, 1440},
    {"uhd_4k", 3840, 2160},
    {"uhd_5k", 5120, 2880},
    {"uhd_8k", 7680, 4320},

    // The same widths, cut to the aspects of cinema.
    {"hd_1080_185", 1920, 1038},
    {"hd_1080_200", 1920, 960},
    {"hd_1080_239", 1920, 804},
    {"uhd_4k_185", 3840, 2076},
    {"uhd_4k_200", 3840, 1920},
    {"uhd_4k_239", 3840, 1608},

    // Digital cinema.
    {"dci_2k_full", 2048, 1080},
    {"dci_2k_flat", 1998, 1080},
    {"dci_2k_scope", 2048, 858},
    {"dci_4k_full", 4096, 2160},
    {"dci_4k_flat", 3996, 2160},
    {"dci_4k_scope", 4096, 1716},

    // Film scans.
    {"academy_2k", 1828, 1332},
    {"academy_4k", 3656, 2664},
    {"academy_185_2k", 1828, 988},
    {"academy_185_4k", 3656, 1976},
    {"anamorphic_2k", 1828, 1556, 2},
    {"anamorphic_4k", 3656, 3112, 2},
    {"super35_2k", 2048, 1556},
    {"super35_4k", 4096, 3112},
    {"vistavision_3k", 3072, 2048},
    {"vistavision_6k", 6144, 4096},

    // Telephones and posters.
    {"vertical_720", 720, 1280},
    {"vertical_1080", 1080, 1920},
    {"vertical_1440", 1440, 2560},
    {"vertical_4k", 2160, 3840},
    {"portrait_4x5", 1080, 1350},
    {"portrait_3x4", 1080, 1440},
    {"portrait_2x3", 1080, 1620},

    // The whole sphere, as longitude and latitude.
    {"latlong_1k", 1024, 512},
    {"latlong_2k", 2048, 1024},
    {"latlong_4k", 4096, 2048},
    {"latlong_8k", 8192, 4096},
    {"latlong_16k", 16384, 8192},
};

} // namespace

std::vector<ResolutionTableEntry> BuiltInResolutions() {
    std::vector<ResolutionTableEntry> entries;
    for (const Row& row : kRows)
        entries.emplace_back(row.name, row.width, row.height, row.pixelAspect);
    return entries;
}
