#ifndef OXTELLARSDK_NAMINGFILE_H
#define OXTELLARSDK_NAMINGFILE_H

#include <stdexcept>
#include <string>

#include <OxTellarSDK/TellarError.h>

/// Returns what `work` returns. A std::runtime_error that it throws becomes a TellarError about the
/// file, with the same text.
template <typename Work>
auto NamingFile(const std::string& file, const Work& work) {
    try {
        return work();
    } catch (const TellarError&) {
        throw;
    } catch (const std::runtime_error& error) {
        throw TellarError::OfFile(file, error.what());
    }
}

#endif
