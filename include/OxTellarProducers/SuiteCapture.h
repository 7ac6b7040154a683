#ifndef OXTELLARPRODUCERS_SUITECAPTURE_H
#define OXTELLARPRODUCERS_SUITECAPTURE_H

#include <memory>

#include <OxTellarProducers/Export.h>
#include <OxTellarSDK/Capture.h>

namespace TELLAR {

/// Records what plug-ins learn from location delegates, by putting tables of this library between
/// plug-ins and the suites of the host. Locations are recorded by OxCapture::WithRecorder.
///
/// Call it before the plug-in that shall be recorded gets its suites. A later call records into
/// another capture. Any thread may call this.
TELLAR_API void RecordDelegates(const std::shared_ptr<OxCapture::Writer>& writer);

/// Answers questions about location delegates from a capture, whatever delegates are installed, and
/// names the slot and its arguments in the errors about what the capture does not have. Otherwise
/// like RecordDelegates.
TELLAR_API void ReplayDelegates(const std::shared_ptr<const OxCapture::Reader>& reader);

} // namespace TELLAR

#endif
