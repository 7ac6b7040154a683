#ifndef RESOLUTIONTABLEOX_TESTS_RESOLUTIONTEXT_H
#define RESOLUTIONTABLEOX_TESTS_RESOLUTIONTEXT_H

#include <locale>
#include <sstream>
#include <string>

#include <ResolutionTableOx/ResolutionTable.h>

/// Name, size and pixel aspect of an entry as one text.
inline std::string Text(const ResolutionTableEntry& entry) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(5);
    text << entry.getName() << ' ' << entry.getWidth() << 'x' << entry.getHeight() << " aspect "
         << entry.getPixelAspect();
    return text.str();
}

inline std::string Found(const ResolutionTable& table, const std::string& name) {
    return Text(table.getResolution(name));
}

#endif
