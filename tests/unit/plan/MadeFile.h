// Files that tests of plans make.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>

/// A file that goes with the object.
class MadeFile
{
public:
    explicit MadeFile(std::string_view bytes, const std::string& extension = ".csv")
        : m_path(std::filesystem::temp_directory_path() /
                 ("orvane_plan_" + std::to_string(::getpid()) + extension))
    {
        std::ofstream stream(m_path, std::ios::binary);
        stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

    ~MadeFile()
    {
        std::error_code error;
        std::filesystem::remove(m_path, error);
    }

    MadeFile(const MadeFile&) = delete;
    MadeFile& operator=(const MadeFile&) = delete;

    [[nodiscard]] std::string Path() const { return m_path.string(); }

private:
    std::filesystem::path m_path;
};
