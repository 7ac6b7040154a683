#ifndef TELLAR_FUZZ_FACTSCHECK_H
#define TELLAR_FUZZ_FACTSCHECK_H

#include <memory>

#include <OxTellarSDK/TellarRuntime.h>

/// Aborts if what Ops tell of a small scene without cooking it differs from what a walk finds.
/// Throws what a cook throws.
void CheckFacts(const std::shared_ptr<TellarRuntime::Client>& client);

#endif
