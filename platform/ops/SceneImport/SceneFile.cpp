#include "SceneFile.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <exception>
#include <filesystem>
#include <iterator>
#include <map>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include <OxTellarSDK/MemoryBudget.h>

#include "SceneReader.h"
#include "model/SceneMemory.h"

namespace TellarSceneImport {

namespace {

// Keeps files while a scene is edited, when Ops are replaced by new ones with the same file.
constexpr std::size_t kFilesKept = 4;

std::atomic<std::uint64_t> numberOfReads{0};

// A canonical path and the wanted part of the file.
using Key = std::pair<std::string, ReadOptions>;

// A file that was requested lately.
struct RecentFile {
    std::shared_ptr<const SceneFile> file;
    std::uint32_t usedIn = 0; // tick of the budget
};

// The open files, which count in the budget of memory once they are read. The entry of a released
// file stays and takes a key and two words. The entry of a changed file is replaced when the path
// is requested again.
class SceneFiles final : public OxTellarMemory::Cache {
public:
    SceneFiles() : Cache("scene files") {}

    std::uint64_t drop(std::uint32_t usedBefore, std::uint64_t wanted) override;

    std::mutex lock;
    std::map<Key, std::weak_ptr<const SceneFile>> known;
    std::deque<RecentFile> recent; // latest first
};

std::uint64_t SceneFiles::drop(std::uint32_t usedBefore, std::uint64_t wanted) {
    std::vector<std::shared_ptr<const SceneFile>> unused; // freed after the lock is released
    std::uint64_t freed = 0;
    const std::lock_guard<std::mutex> guard(lock);
    unused.reserve(recent.size());
    while (!recent.empty() && freed < wanted) {
        // Others get a file under the lock, so nobody starts to use it meanwhile.
        const auto place =
            std::find_if(recent.rbegin(), recent.rend(), [&](const RecentFile& last) {
                return last.file.use_count() == 1 && last.usedIn < usedBefore;
            });
        if (place == recent.rend()) break;
        const std::uint64_t bytes = place->file->takeCountedBytes();
        if (bytes > 0) dropped(bytes);
        freed += bytes;
        unused.push_back(std::move(place->file));
        recent.erase(std::next(place).base());
    }
    return freed;
}

SceneFiles& GetFiles() {
    static auto* const files = new SceneFiles;
    return *files;
}

std::string CanonicalPath(const std::string& path) {
    std::error_code error;
    const std::filesystem::path canonical = std::filesystem::weakly_canonical(path, error);
    return error ? path : canonical.string();
}

// The caller holds the lock of the cache. Returns the evicted file, so that its memory is freed
// after the lock is released.
std::shared_ptr<const SceneFile> Keep(SceneFiles& files,
                                      const std::shared_ptr<const SceneFile>& file) {
    auto& recent = files.recent;
    const auto isSame = [&](const RecentFile& other) { return other.file == file; };
    recent.erase(std::remove_if(recent.begin(), recent.end(), isSame), recent.end());
    recent.push_front({file, OxTellarMemory::CurrentTick()});
    if (recent.size() <= kFilesKept) return nullptr;
    auto last = std::move(recent.back().file);
    recent.pop_back();
    return last;
}

// The caller holds the lock of the cache.
std::shared_ptr<const SceneFile> Find(SceneFiles& files, const Key& key) {
    const auto found = files.known.find(key);
    return found == files.known.end() ? nullptr : found->second.lock();
}

} // namespace

SceneFile::SceneFile(FileStamp stamp, ReadOptions options)
    : stamp(std::move(stamp)), options(std::move(options)) {}

SceneFile::~SceneFile() {
    if (const std::uint64_t bytes = takeCountedBytes()) GetFiles().removed(bytes);
}

const Scene& SceneFile::scene() const {
    readIfNeeded();
    if (!result) throw std::runtime_error(failure);
    return *result;
}

void SceneFile::readIfNeeded() const {
    bool isReader = false;
    std::call_once(readOnce, [&] {
        isReader = true;
        read();
        count();
    });
    if (isReader) OxTellarMemory::RelieveMemory();
}

void SceneFile::count() const try {
    if (!result) return;
    const std::uint64_t bytes = MemoryOf(*result);
    GetFiles().added(bytes);
    countedBytes.store(bytes, std::memory_order_relaxed);
} catch (const std::bad_alloc&) { // no memory to count with: the file counts nothing
}

void SceneFile::read() const {
    numberOfReads.fetch_add(1, std::memory_order_relaxed);
    std::vector<FileStamp> looked;
    try {
        result = ReadScene(stamp.path, options, looked);
    } catch (const std::exception& error) {
        failure = error.what();
    } catch (...) {
        failure = "unknown error";
    }
    const std::lock_guard<std::mutex> guard(filesLock);
    files = std::move(looked);
}

FileList SceneFile::listFiles() const {
    readIfNeeded();
    FileList list;
    list.failure = failure;
    const std::lock_guard<std::mutex> guard(filesLock);
    for (const FileStamp& file : files)
        list.paths.push_back(file.path);
    std::sort(list.paths.begin(), list.paths.end());
    list.paths.erase(std::unique(list.paths.begin(), list.paths.end()), list.paths.end());
    return list;
}

bool SceneFile::isCurrent() const {
    std::vector<FileStamp> known;
    {
        const std::lock_guard<std::mutex> guard(filesLock);
        known = files;
    }
    known.push_back(stamp);
    return std::all_of(known.begin(), known.end(),
                       [](const FileStamp& file) { return file == StampOf(file.path); });
}

std::shared_ptr<const SceneFile> OpenSceneFile(const std::string& path,
                                               const ReadOptions& options) {
    const Key key(CanonicalPath(path), options);
    SceneFiles& files = GetFiles();
    std::shared_ptr<const SceneFile> known;
    {
        const std::lock_guard<std::mutex> guard(files.lock);
        known = Find(files, key);
    }
    // The disk is accessed without the lock.
    const bool isCurrent = known && known->isCurrent();
    isCurrent ? files.hit() : files.miss();
    auto fresh = isCurrent ? known : std::make_shared<SceneFile>(StampOf(key.first), options);

    std::shared_ptr<const SceneFile> dropped;
    const std::lock_guard<std::mutex> guard(files.lock);
    if (auto newer = Find(files, key); newer && newer != known)
        return newer; // another thread noticed the change first
    files.known[key] = fresh;
    dropped = Keep(files, fresh);
    return fresh;
}

void DropUnusedSceneFiles() {
    std::deque<RecentFile> dropped; // freed after the lock is released
    const std::lock_guard<std::mutex> guard(GetFiles().lock);
    GetFiles().recent.swap(dropped);
}

std::uint64_t GetNumberOfSceneReads() {
    return numberOfReads.load(std::memory_order_relaxed);
}

} // namespace TellarSceneImport
