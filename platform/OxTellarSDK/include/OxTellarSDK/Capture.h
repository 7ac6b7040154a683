#ifndef OXTELLARSDK_CAPTURE_H
#define OXTELLARSDK_CAPTURE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>
#include <OxTellarSDK/FileStream.h>
#include <OxTellarSDK/SubtreeFacts.h>
#include <OxTellarSDK/TellarRuntime.h>

/// Captures: files that hold the answers a scene gave to a renderer, so that the render can be
/// repeated without the scene. docs/capture-file.md has the format and the questions.

namespace OxCapture {

/// The questions that a program writes to captures besides those about locations.
constexpr std::string_view kRender = "render"; ///< by number: a picture that was asked for
constexpr std::string_view kFile = "file";     ///< by path: the bytes of a file, a string

/// Writes a capture, one answer after the other. What is added is in the file when the call
/// returns, so the capture of a process that crashes is complete up to the crash.
///
/// Threads: any thread may add answers.
class OXTELLARSDK_API Writer {
public:
    /// Creates the file, or empties an existing one. Throws TellarError naming the file and the
    /// system's reason.
    explicit Writer(const std::string& path);
    /// Leaves the capture as it is: without finish() it counts as cut off.
    ~Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    const std::string& getPath() const;

    /// Adds the answer to a question, which replaces an earlier one. Values that the file has
    /// already are not written again. An invalid attribute is an answer too: there is nothing.
    ///
    /// Does nothing after a failure, so that a render goes on when the disk is full; finish()
    /// reports the first one.
    void add(std::string_view question, std::string_view key,
             const OxAttribute::Attribute& answer) noexcept;

    /// Marks the capture as complete and closes the file. Throws TellarError naming the file and
    /// the reason if anything could not be written. Later answers are not added.
    void finish();

private:
    struct State;
    const std::unique_ptr<State> state;
};

/// The answers of a capture.
///
/// Threads: any thread may call any function.
class OXTELLARSDK_API Reader {
public:
    /// Reads the whole file. A file that was cut off anywhere gives the answers before the cut.
    /// Throws TellarError naming the file when it cannot be read, is no capture, has another
    /// version or is damaged. Readers of one file are shared while they are in use.
    static std::shared_ptr<const Reader> Open(const std::string& path);
    /// The same for the bytes of a file. `name` is for errors.
    static std::shared_ptr<const Reader> Parse(std::string_view bytes, const std::string& name);
    ~Reader();
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    const std::string& getPath() const;
    /// False for a file without its end.
    bool isComplete() const;
    /// The keys of a question that have answers, sorted.
    std::vector<std::string> getKeys(std::string_view question) const;
    /// The answer, which may be an invalid attribute; nothing if the capture does not have it.
    std::optional<OxAttribute::Attribute> find(std::string_view question,
                                               std::string_view key) const;

    /// What was recorded of the location at a path; nothing if it was not recorded. Throws the
    /// recorded TellarError of a location that could not be cooked.
    std::optional<TellarRuntime::LocationData> findLocation(const std::string& path) const;
    /// Nothing is known unless it was recorded.
    OxOpType::SubtreeFacts findSubtree(const std::string& path) const;
    /// Null unless it was recorded.
    std::shared_ptr<const OxOpType::Instances> findInstances(const std::string& path) const;

    /// Notes that there is no answer to a question, and returns the text of an error about it,
    /// which also has the question of SetQuestionName. The first texts are kept, each once.
    std::string noteMissing(const std::string& question) const;
    std::vector<std::string> getMissing() const;

private:
    struct State;
    explicit Reader(std::unique_ptr<State> state);
    const std::unique_ptr<State> state;
};

/// Sets a function that names the question that a plug-in asks on the calling thread, for the
/// errors of Reader::noteMissing; it returns an empty text if there is none. Any thread calls it.
OXTELLARSDK_API void SetQuestionName(std::string (*name)());

/// How much WithRecorder records.
enum class Recorded {
    Scene,           ///< locations
    SceneAndTextures ///< also the files that their attributes name as textures
};

/// The op tree with one more op behind its last one. Whoever uses the new tree records in the
/// capture every location that is cooked, and every answer about subtrees and instances.
OXTELLARSDK_API OxAttribute::GroupAttribute
WithRecorder(const OxAttribute::GroupAttribute& description, const std::shared_ptr<Writer>& writer,
             Recorded what);

/// An op tree that presents the locations of a capture. A strict one throws for a location that was
/// not recorded; otherwise such a location does not exist. Textures that the capture has are looked
/// for below `files`, unless that is empty.
OXTELLARSDK_API OxAttribute::GroupAttribute
DescribeCapture(const std::string& path, bool isStrict = false, const std::string& files = {});

/// Whether a file that is open and has not been read begins like a capture. Rewinds it.
OXTELLARSDK_API bool IsCapture(OxAttribute::FileStream& file);

/// Where a replay looks for a recorded file: a relative path. Files of one folder stay together.
OXTELLARSDK_API std::string ReplayedFile(const std::string& path);
/// Writes the recorded files below a folder, where replays look for them. Returns their number.
/// Throws TellarError when one cannot be written.
OXTELLARSDK_API std::size_t ExtractFiles(const Reader& capture, const std::string& folder);

} // namespace OxCapture

#endif
