#ifndef TELLAR_TEST_TEMPDIRECTORY_H
#define TELLAR_TEST_TEMPDIRECTORY_H

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>

#include <sys/stat.h>

/// A new folder under the system's temporary folder, removed with its contents at the end.
class TempDirectory {
public:
    TempDirectory() : folder(create()) {}
    ~TempDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    std::string path() const { return folder.string(); }
    std::string path(const std::string& name) const { return (folder / name).string(); }

    /// Writes a file of this name and returns its path.
    std::string write(const std::string& name, const std::string& content) const {
        std::ofstream file(folder / name, std::ios::binary);
        file << content;
        if (!file.flush()) throw std::runtime_error("Cannot write " + path(name));
        return path(name);
    }

    /// The whole content of a file; throws when it cannot be opened.
    std::string read(const std::string& name) const {
        std::ifstream file(folder / name, std::ios::binary);
        if (!file) throw std::runtime_error("Cannot read " + path(name));
        std::ostringstream content;
        content << file.rdbuf();
        return content.str();
    }

    /// Makes a named pipe that nobody writes to, and returns its path. Opening it without
    /// O_NONBLOCK waits for ever.
    std::string makePipe(const std::string& name) const {
        if (mkfifo(path(name).c_str(), 0600) != 0)
            throw std::runtime_error("No named pipe can be made: " + path(name));
        return path(name);
    }

private:
    static std::filesystem::path create() {
        std::random_device random;
        for (int attempt = 0; attempt < 100; ++attempt) {
            const std::string name = "tellar-test-" + std::to_string(random());
            const auto folder = std::filesystem::temp_directory_path() / name;
            if (std::filesystem::create_directory(folder)) return folder;
        }
        throw std::runtime_error("No temporary folder can be made");
    }

    std::filesystem::path folder;
};

#endif
