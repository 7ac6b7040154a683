#ifndef TELLAR_TOOL_COOKERRORS_H
#define TELLAR_TOOL_COOKERRORS_H

#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_set>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/CookObserver.h>

namespace TellarTool {

/// Counts the locations of a scene that cannot be cooked, each of them once, while a
/// CookObservation of it lives. Threads: any.
class CookErrors final : public OxOpType::CookObserver {
public:
    /// `scene` is the identity of the scene's terminal op.
    explicit CookErrors(const OxAttribute::Hash& scene) : scene(scene) {}

    void cookFails(const OxOpType::ObservedCook& cook, const ErrorFacts& error) noexcept override;

    std::size_t getCount() const;
    /// The text of the first error; nothing if there was none.
    std::optional<std::string> getFirst() const;

private:
    const OxAttribute::Hash scene;
    mutable std::mutex lock;
    // Guarded by lock.
    std::unordered_set<std::size_t> failed; // hashes of paths, which may be many
    std::optional<std::string> first;
};

/// "one location could not be cooked" or "3 locations could not be cooked".
std::string CountText(std::size_t failedLocations);

} // namespace TellarTool

#endif
