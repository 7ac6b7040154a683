#ifndef RESOLUTIONTABLEOX_RESOLUTIONTABLE_H
#define RESOLUTIONTABLEOX_RESOLUTIONTABLE_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <ResolutionTableOx/Export.h>

/// A picture format. A value; copy it freely.
class RESOLUTIONTABLEOX_API ResolutionTableEntry {
public:
    /// Throws std::runtime_error, which names the format and the value at fault, for an empty name
    /// or one with control characters, sizes that are not from 1 to 1048576, more pixels than an
    /// int holds, and a pixel aspect that is not finite and above 0.
    ResolutionTableEntry(std::string name, int width, int height, double pixelAspect);

    const std::string& getName() const { return name; }
    int getWidth() const { return width; }   ///< pixels, at least 1
    int getHeight() const { return height; } ///< pixels, at least 1
    /// Width of a pixel divided by its height.
    double getPixelAspect() const { return pixelAspect; }

private:
    std::string name;
    int width;
    int height;
    double pixelAspect;
};

/// Picture formats by name (docs/resolutions.md). Immutable: any number of threads may share one.
class RESOLUTIONTABLEOX_API ResolutionTable {
public:
    /// A name such as "1280x720" that is not in the table is a format of this size with square
    /// pixels; a size that no format can have throws what the constructor of entries throws. The
    /// entry lives as long as the table. Throws std::runtime_error "no resolution is named
    /// '<name>'" for a name that is not in the table, followed by "; did you mean '<a>', '<b>' or
    /// '<c>'?" when there are similar names. Names are compared byte by byte.
    const ResolutionTableEntry& getResolution(const std::string& name) const;

    /// The built-in entries, then those of the file.
    const std::vector<ResolutionTableEntry>& getEntries() const { return entries; }

    /// When several entries have one name, getResolution finds the first.
    explicit ResolutionTable(std::vector<ResolutionTableEntry> entries);

private:
    std::vector<ResolutionTableEntry> entries;
    std::vector<std::size_t> byName; // indices of all entries, in the order of their names
};

/// The built-in formats, overlaid by those of a JSON file: `file`, or for null the one that the
/// configuration key "RESOLUTION_TABLE" names, if any.
///
/// Empty when the file cannot be read or anything in it is wrong; the logger "ResolutionTable"
/// then reports file, place and reason as an error, once until the file changes. A file is read
/// again only when its size or the time of its last change has changed. Threads: any.
RESOLUTIONTABLEOX_API std::shared_ptr<const ResolutionTable> GetResolutionTable(const char* file);

#endif
