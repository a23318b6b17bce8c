#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace yk::test {

// A fresh folder under the system's temporary folder, removed with everything in it.
class TemporaryFolder {
public:
    TemporaryFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "yk-test-XXXXXX").string();
        _path = mkdtemp(pattern.data());
    }
    ~TemporaryFolder() { std::filesystem::remove_all(_path); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return _path; }

    // Writes the bytes to a file at `name` in the folder (or at `name` itself when it is
    // absolute), making its folders, and returns its path.
    std::filesystem::path write(const std::filesystem::path& name, std::string_view bytes) const
    {
        const auto file = _path / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return file;
    }
    // The bytes of a file; empty when it cannot be read.
    static std::string read(const std::filesystem::path& file)
    {
        std::ifstream in(file, std::ios::binary);
        return { std::istreambuf_iterator<char>(in), {} };
    }

private:
    std::filesystem::path _path;
};

} // namespace yk::test
