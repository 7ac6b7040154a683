#ifndef OXTELLARSDK_DATAVIEW_H
#define OXTELLARSDK_DATAVIEW_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string_view>

#include "AttributeNode.h"

namespace OxAttribute {

/// Where the parts of numbers or strings lie. All of them are inside of the value's allocation or
/// file, also when the bytes of a mapped file have changed: the numbers here are a copy of those
/// in the value's header, compared with the end of the file. Strings must be taken by `text`.
struct DataView {
    int type = kAttributeTypeNull;
    const float* times = nullptr;        ///< null: one sample at time 0
    const char* values = nullptr;        ///< strings: their bytes
    const std::uint32_t* ends = nullptr; ///< strings; null: there is one, which is all of the bytes
    std::uint64_t count = 0;             ///< in one time sample
    std::uint32_t timeCount = 1;
    std::uint32_t tupleSize = 1;
    std::uint32_t textBytes = 0; ///< strings: all bytes, each NUL included

    std::uint64_t elements() const { return count * timeCount; }
    float timeAt(std::uint64_t index) const { return times ? times[index] : 0.0f; }
    template <typename T>
    const T* as() const {
        return reinterpret_cast<const T*>(values);
    }

    /// String `index` of all of them; empty when its bytes are not inside.
    std::string_view text(std::uint64_t index) const {
        if (!ends) return {values, textBytes - 1};
        const std::uint32_t begin = ends[index];
        const std::uint32_t end = ends[index + 1];
        if (begin >= end || end > textBytes) return "";
        return {values + begin, end - begin - 1};
    }
};

/// ViewOf for numbers and strings that are not short.
DataView FullViewOf(const Node* node) noexcept;

/// The parts of a number or string. That of any other value has no values.
inline DataView ViewOf(const Node* node) noexcept {
    const Node head{node->word};
    if (!head.isShort()) return FullViewOf(node);
    DataView view;
    view.type = head.type();
    view.values = Bytes(node) + sizeof(Node);
    if (head.isShortNumbers()) {
        // Those of a mapped file that change may become doubles at a place where none can be read.
        const bool isReadable =
            reinterpret_cast<std::uintptr_t>(view.values) % ElementBytes(view.type) == 0;
        view.count = isReadable ? head.shortCount() : 0;
        view.tupleSize = std::max(1u, head.word >> kTupleSizeBit);
    } else if (view.type == kAttributeTypeString) {
        view.count = 1;
        view.textBytes = ShortTextLength(head.word) + 1;
    }
    return view;
}

template <typename T>
struct NumberSpan {
    const T* values = nullptr;
    std::uint64_t count = 0;
};

/// The numbers of a short value of the type, which most reads of a scene are of. Nothing for any
/// other value.
template <typename T>
NumberSpan<T> ShortNumbers(const Node* node) noexcept {
    const Node head{node->word};
    const char* const values = Bytes(node) + sizeof(Node);
    const bool isReadable = reinterpret_cast<std::uintptr_t>(values) % sizeof(T) == 0;
    if (!isReadable || !head.isShort() || head.type() != NumericAttribute<T>::kType) return {};
    return {reinterpret_cast<const T*>(values), head.shortCount()};
}

/// The text of a short string, with a NUL behind it. Without an address for any other value.
inline std::string_view ShortText(const Node* node) noexcept {
    const Node head{node->word};
    if (!head.isShort() || head.type() != kAttributeTypeString) return {};
    return {Bytes(node) + sizeof(Node), ShortTextLength(head.word)};
}

/// ViewOf for a value that is known to be of this type: without values should that have changed.
inline DataView ViewOf(const Node* node, int type) noexcept {
    const DataView view = ViewOf(node);
    return view.type == type ? view : DataView();
}

/// The view of a full number or string that is known to be sound.
inline DataView SoundViewOf(const FullNode& full) noexcept {
    DataView view;
    view.type = full.type();
    const char* const times = Bytes(&full) + sizeof(FullNode);
    if (!(full.word & kTimesOmitted)) view.times = reinterpret_cast<const float*>(times);
    view.values = times + TimesBytes(full.word, full.timeCount);
    view.count = full.count;
    view.timeCount = full.timeCount;
    view.tupleSize = full.tupleSize;
    if (full.type() != kAttributeTypeString) return view;
    view.ends = reinterpret_cast<const std::uint32_t*>(view.values);
    view.values += 4 * (view.elements() + 1);
    view.textBytes = view.ends[view.elements()];
    return view;
}

/// The index of the sample nearest to `time`; of two that are equally near, the earlier one.
inline std::uint64_t NearestSample(const DataView& view, float time) {
    if (view.timeCount == 1) return 0;
    const std::uint64_t last = view.timeCount - 1;
    // Compares neighbours only, because distances from a time far away are rounded to the same.
    std::uint64_t nearest = 0;
    while (nearest < last &&
           double(view.timeAt(nearest + 1)) - time < std::fabs(double(time) - view.timeAt(nearest)))
        ++nearest;
    return nearest;
}

/// The samples on either side of a time, and where between them it is.
struct SampleSpan {
    std::uint64_t before;
    std::uint64_t after; // equal to `before` at a sample, and beyond the first and last
    double blend;        // 0 at `before`, 1 at `after`

    template <typename Result, typename T>
    Result interpolate(T low, T high) const {
        if (before == after) return static_cast<Result>(low);
        return static_cast<Result>(low + (double(high) - low) * blend);
    }
};

inline SampleSpan FindSpan(const DataView& view, float time) {
    const std::uint64_t last = view.timeCount - 1;
    std::uint64_t after = 0; // the first sample not before `time`
    while (after < last && view.timeAt(after) < time)
        ++after;
    const std::uint64_t before = after > 0 && time < view.timeAt(after) ? after - 1 : after;
    const double start = view.timeAt(before);
    const double length = view.timeAt(after) - start;
    return {before, after, length > 0.0 ? (double(time) - start) / length : 0.0};
}

} // namespace OxAttribute

#endif
