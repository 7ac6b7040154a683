#include "SceneFile.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <exception>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "SceneReader.h"

namespace TellarSceneImport {

namespace {

// Keeps files while a scene is edited, when Ops are replaced by new ones with the same file.
constexpr std::size_t kFilesKept = 4;

std::atomic<std::uint64_t> numberOfReads{0};

// A canonical path and the wanted part of the file.
using Key = std::pair<std::string, ReadOptions>;

// The open files. The entry of a released file stays and takes a key and two words. The entry of a
// changed file is replaced when the path is requested again.
struct Cache {
    std::mutex lock;
    std::map<Key, std::weak_ptr<const SceneFile>> known;
    std::deque<std::shared_ptr<const SceneFile>> recent; // latest first
};

Cache& GetCache() {
    static Cache* instance = new Cache;
    return *instance;
}

std::string CanonicalPath(const std::string& path) {
    std::error_code error;
    const std::filesystem::path canonical = std::filesystem::weakly_canonical(path, error);
    return error ? path : canonical.string();
}

// The caller holds the lock of the cache. Returns the evicted file, so that its memory is freed
// after the lock is released.
std::shared_ptr<const SceneFile> Keep(Cache& cache, const std::shared_ptr<const SceneFile>& file) {
    auto& recent = cache.recent;
    recent.erase(std::remove(recent.begin(), recent.end(), file), recent.end());
    recent.push_front(file);
    if (recent.size() <= kFilesKept) return nullptr;
    auto last = std::move(recent.back());
    recent.pop_back();
    return last;
}

// The caller holds the lock of the cache.
std::shared_ptr<const SceneFile> Find(Cache& cache, const Key& key) {
    const auto found = cache.known.find(key);
    return found == cache.known.end() ? nullptr : found->second.lock();
}

} // namespace

SceneFile::SceneFile(FileStamp stamp, ReadOptions options)
    : stamp(std::move(stamp)), options(std::move(options)) {}

const Scene& SceneFile::scene() const {
    std::call_once(readOnce, [this] { read(); });
    if (!result) throw std::runtime_error(failure);
    return *result;
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
    std::call_once(readOnce, [this] { read(); });
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
    Cache& files = GetCache();
    std::shared_ptr<const SceneFile> known;
    {
        const std::lock_guard<std::mutex> guard(files.lock);
        known = Find(files, key);
    }
    // The disk is accessed without the lock.
    const bool isCurrent = known && known->isCurrent();
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
    std::deque<std::shared_ptr<const SceneFile>> dropped; // freed after the lock is released
    const std::lock_guard<std::mutex> guard(GetCache().lock);
    GetCache().recent.swap(dropped);
}

std::uint64_t GetNumberOfSceneReads() {
    return numberOfReads.load(std::memory_order_relaxed);
}

} // namespace TellarSceneImport
