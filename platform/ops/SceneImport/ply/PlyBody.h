#ifndef SCENEIMPORT_PLYBODY_H
#define SCENEIMPORT_PLYBODY_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "PlyHeader.h"

namespace TellarSceneImport {

/// The values of one item of an element, in the order of its properties.
struct PlyRow {
    std::vector<double> values;             ///< 0 for a list
    std::vector<std::vector<double>> lists; ///< empty for a single value
};

/// The values after the header, from the first to the last.
class PlyBody {
public:
    PlyBody(std::string_view body, PlyFormat format) : rest(body), format(format) {}

    /// Reads the next item of `element`. Throws std::runtime_error "damaged PLY: ..." where the
    /// file ends or a text has something other than a number. Numbers may be infinite or NaN.
    void takeRow(const PlyElement& element, PlyRow& row);

private:
    double takeValue(PlyType type);
    double takeBinary(PlyType type);
    double takeWord();
    void takeList(const PlyProperty& property, std::vector<double>& list);

    std::string_view rest;
    const PlyFormat format;
};

} // namespace TellarSceneImport

#endif
