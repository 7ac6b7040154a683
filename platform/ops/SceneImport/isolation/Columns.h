#ifndef SCENEIMPORT_COLUMNS_H
#define SCENEIMPORT_COLUMNS_H

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/GroupBuilder.h>

#include "SampledMotion.h"

namespace TellarSceneImport {

/// Lists of a SceneContent in the form of groups of columns. A column is an array with a fixed
/// number of values for each item. Lists within items are joined to one array, and a second array
/// holds the end of each item's part. Functions that read columns throw std::runtime_error for
/// wrong ones.

class ColumnWriter {
public:
    void add(std::string_view name, const std::vector<int>& values);
    void add(std::string_view name, const std::vector<double>& values);
    void add(std::string_view name, const std::vector<std::string>& values);
    /// Writes invalid groups as empty ones.
    void add(std::string_view name, const std::vector<OxAttribute::GroupAttribute>& values);
    void add(std::string_view name, const OxAttribute::GroupAttribute& value);
    OxAttribute::GroupAttribute build() { return group.build(); }

private:
    OxAttribute::GroupBuilder group{OxAttribute::BuilderModeStrict};
};

class ColumnReader {
public:
    ColumnReader(const OxAttribute::GroupAttribute& parent, std::string_view name);

    std::vector<int> ints(std::string_view name) const;
    std::vector<double> doubles(std::string_view name) const;
    std::vector<std::string> texts(std::string_view name) const;
    std::vector<OxAttribute::GroupAttribute> groups(std::string_view name) const;

private:
    OxAttribute::GroupAttribute group;
};

/// Throws the error for a wrong column.
[[noreturn]] void RefuseColumn(std::string_view name);

template <typename Column>
void RequireSize(const Column& column, std::size_t size, std::string_view name) {
    if (column.size() != size) RefuseColumn(name);
}

void RequireIndex(int index, std::size_t size, std::string_view name);

/// Begin and end of the part of item `i` in a joined list of `total` values.
std::pair<std::size_t, std::size_t> PartOf(const std::vector<int>& ends, std::size_t i,
                                           std::size_t total, std::string_view name);

/// Appends numbers to a column.
class NumberSink {
public:
    explicit NumberSink(std::vector<double>& column) : column(column) {}
    template <std::size_t Size, typename Number>
    void operator()(const std::array<Number, Size>& values) {
        column.insert(column.end(), values.begin(), values.end());
    }
    void operator()(double value) { column.push_back(value); }

private:
    std::vector<double>& column;
};

/// Takes numbers from a column, whose size has been checked, in the order of a NumberSink.
class NumberSource {
public:
    explicit NumberSource(const std::vector<double>& column) : next(column.data()) {}
    template <std::size_t Size, typename Number>
    void operator()(std::array<Number, Size>& values) {
        for (Number& value : values)
            (*this)(value);
    }
    template <typename Number>
    void operator()(Number& value) {
        value = static_cast<Number>(*next++);
    }

private:
    const double* next;
};

/// Adds the motions of the items (nodes or shapes) that move, and which items these are.
template <typename Item>
void AddMotions(const std::vector<Item>& items, ColumnWriter& columns) {
    std::vector<int> moving;
    std::vector<OxAttribute::GroupAttribute> motions;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (!items[i].motion) continue;
        moving.push_back(static_cast<int>(i));
        motions.push_back(SampledMotion::SamplesOf(*items[i].motion));
    }
    columns.add("moving", moving);
    columns.add("motion", motions);
}

template <typename Item>
void ReadMotions(const ColumnReader& columns, std::vector<Item>& items) {
    const std::vector<int> moving = columns.ints("moving");
    const std::vector<OxAttribute::GroupAttribute> motions = columns.groups("motion");
    RequireSize(motions, moving.size(), "motion");
    for (std::size_t i = 0; i < moving.size(); ++i) {
        RequireIndex(moving[i], items.size(), "moving");
        items[static_cast<std::size_t>(moving[i])].motion =
            std::make_shared<SampledMotion>(motions[i]);
    }
}

} // namespace TellarSceneImport

#endif
