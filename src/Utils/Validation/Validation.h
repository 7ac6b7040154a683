#ifndef OXTELLARPRODUCERS_VALIDATION_H
#define OXTELLARPRODUCERS_VALIDATION_H

namespace TELLAR {

/// Puts checks between every plug-in and every suite when the environment variable TELLAR_VALIDATE
/// is "1", or "abort" to end the process at the first finding. The first call decides; plug-ins
/// that were given a suite before are not checked. docs/validation.md lists the checks.
void InstallValidation();

} // namespace TELLAR

#endif
