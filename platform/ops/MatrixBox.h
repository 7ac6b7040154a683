#ifndef TELLAROPS_MATRIXBOX_H
#define TELLAROPS_MATRIXBOX_H

#include <array>
#include <cstddef>

#include <OxTellarSDK/Bounds.h>

namespace TellarOps {

/// Affine matrices, each of whose entries lies in a range. Starts out empty. A value.
class MatrixBox {
public:
    /// Encloses numbers for an entry.
    void add(std::size_t row, std::size_t column, double low, double high);
    /// Encloses the other matrices as well.
    void add(const MatrixBox& other);

    /// Encloses a box under all of the matrices. The result is not finite if an entry is not.
    OxXFormUtil::Bounds move(const OxXFormUtil::Bounds& box) const;

private:
    static constexpr std::size_t kColumns = 3;

    struct Range {
        double low = 1;
        double high = 0; // below `low`: empty
        void add(double otherLow, double otherHigh);
    };
    std::array<Range, 4 * kColumns> ranges; // without the last column, which is 0, 0, 0, 1
};

} // namespace TellarOps

#endif
