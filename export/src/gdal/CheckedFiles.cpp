// A GDAL file system over the C library's streams that remembers the first failure.
#include "CheckedFiles.h"

#include <cpl_vsi.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Orvane::Import {

/// What the files of one writer share: their first failure, and whether to go on.
class WriterState
{
public:
    WriterState(std::uint64_t number, CheckedFiles::EUse use, CheckedFiles::Step step)
        : m_number(number)
        , m_use(use)
        , m_step(std::move(step))
    {}

    /// The writer's, which begins the names of its files.
    [[nodiscard]] std::uint64_t GetNumber() const noexcept { return m_number; }

    [[nodiscard]] bool MayWrite() const noexcept { return m_use == CheckedFiles::EUse::Writing; }

    /// Keeps errno unless there is a failure already.
    void Keep() noexcept
    {
        int none = 0;
        m_error.compare_exchange_strong(none, errno != 0 ? errno : EIO);
    }

    /// 0 for none.
    [[nodiscard]] int GetError() const noexcept { return m_error; }

    /// Calls the step. @return false from when it has said to stop
    [[nodiscard]] bool GoesOn()
    {
        m_isStopped = !m_step() || m_isStopped;
        return !m_isStopped;
    }

    [[nodiscard]] bool IsStopped() const noexcept { return m_isStopped; }

private:
    std::uint64_t m_number;
    CheckedFiles::EUse m_use;
    CheckedFiles::Step m_step;
    bool m_isStopped = false;
    std::atomic<int> m_error{0};
};

namespace {

constexpr const char* kPrefix = "/vsiorvane/";

/// The writers that exist, by number: GDAL's file systems are the process's, and know files by
/// their names alone.
class Registry
{
public:
    static Registry& Get()
    {
        static Registry registry;
        return registry;
    }

    std::shared_ptr<WriterState> Add(CheckedFiles::EUse use, CheckedFiles::Step step)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        auto added = std::make_shared<WriterState>(++m_lastNumber, use, std::move(step));
        m_writers.emplace(m_lastNumber, added);
        return added;
    }

    void Remove(std::uint64_t number)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_writers.erase(number);
    }

    /// That of the writer whose number begins the name; null for none.
    std::shared_ptr<WriterState> Find(const char* name)
    {
        std::uint64_t number = 0;
        std::from_chars(name, name + std::strlen(name), number);
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_writers.find(number);
        return found == m_writers.end() ? nullptr : found->second;
    }

private:
    std::mutex m_mutex;
    std::uint64_t m_lastNumber = 0;
    std::map<std::uint64_t, std::shared_ptr<WriterState>> m_writers;
};

enum class ELastStep { None, Read, Write };

struct OpenFile
{
    std::shared_ptr<WriterState> writer; ///< its writer's
    std::FILE* stream = nullptr;         ///< null when the file could not be made
    ELastStep lastStep = ELastStep::None;
};

OpenFile& Get(void* file) noexcept
{
    return *static_cast<OpenFile*>(file);
}

/// A stream that is read after writing, or written after reading, must be positioned between.
void Turn(OpenFile& file, ELastStep step)
{
    if (file.lastStep != step && file.lastStep != ELastStep::None &&
        fseeko(file.stream, 0, SEEK_CUR) != 0) {
        file.writer->Keep();
    }
    file.lastStep = step;
}

/// GDAL gives names without the prefix: the writer's number and the path.
std::string PathOf(const char* name)
{
    const char* path = std::strchr(name, '/');
    return path == nullptr ? std::string("/") : std::string(path);
}

int Stat(void* /*data*/, const char* name, VSIStatBufL* result, int /*flags*/)
{
    return VSIStatL(PathOf(name).c_str(), result);
}

int Unlink(void* /*data*/, const char* name)
{
    return unlink(PathOf(name).c_str());
}

int Rename(void* /*data*/, const char* oldName, const char* newName)
{
    return std::rename(PathOf(oldName).c_str(), PathOf(newName).c_str());
}

void* Open(void* /*data*/, const char* name, const char* access)
{
    auto file = std::make_unique<OpenFile>();
    file->writer = Registry::Get().Find(name);
    if (file->writer == nullptr) {
        return nullptr;
    }
    if (!file->writer->MayWrite() &&
        std::string_view(access).find_first_of("wa+") != std::string::npos) {
        errno = EROFS;
        return nullptr;
    }
    errno = 0;
    file->stream = std::fopen(PathOf(name).c_str(), access);
    if (file->stream == nullptr) {
        if (*access == 'r') {
            return nullptr;
        }
        // The shapefile's writer uses its code page file without a look at what it got.
        file->writer->Keep();
    }
    return file.release();
}

vsi_l_offset Tell(void* file)
{
    return Get(file).stream == nullptr ? 0 : static_cast<vsi_l_offset>(ftello(Get(file).stream));
}

int Seek(void* file, vsi_l_offset offset, int whence)
{
    if (Get(file).stream == nullptr) {
        return -1;
    }
    Get(file).lastStep = ELastStep::None;
    const int result = fseeko(Get(file).stream, static_cast<off_t>(offset), whence);
    if (result != 0) {
        Get(file).writer->Keep();
    }
    return result;
}

size_t Read(void* file, void* buffer, size_t size, size_t count)
{
    if (size == 0 || count == 0) {
        return count;
    }
    if (Get(file).stream == nullptr || !Get(file).writer->GoesOn()) {
        return 0;
    }
    Turn(Get(file), ELastStep::Read);
    errno = 0;
    const size_t got = std::fread(buffer, size, count, Get(file).stream);
    // Writers read what they have written, and some write zeros where that fails.
    if (got != count && std::ferror(Get(file).stream) != 0) {
        Get(file).writer->Keep();
    }
    return got;
}

int Eof(void* file)
{
    return Get(file).stream == nullptr ? 1 : std::feof(Get(file).stream);
}

size_t Write(void* file, const void* buffer, size_t size, size_t count)
{
    // Writers give nothing by a null pointer.
    if (size == 0 || count == 0) {
        return count;
    }
    if (Get(file).stream == nullptr || !Get(file).writer->GoesOn()) {
        return 0;
    }
    Turn(Get(file), ELastStep::Write);
    errno = 0;
    const size_t written = std::fwrite(buffer, size, count, Get(file).stream);
    if (written != count) {
        Get(file).writer->Keep();
    }
    return written;
}

int Flush(void* file)
{
    if (Get(file).stream == nullptr) {
        return -1;
    }
    errno = 0;
    const int result = std::fflush(Get(file).stream);
    if (result != 0) {
        Get(file).writer->Keep();
    }
    return result;
}

int Truncate(void* file, vsi_l_offset size)
{
    if (Flush(file) != 0) {
        return -1;
    }
    const int result = ftruncate(fileno(Get(file).stream), static_cast<off_t>(size));
    if (result != 0) {
        Get(file).writer->Keep();
    }
    return result;
}

int Close(void* file)
{
    const std::unique_ptr<OpenFile> owned(static_cast<OpenFile*>(file));
    if (owned->stream == nullptr) {
        return -1;
    }
    errno = 0;
    const int result = std::fclose(owned->stream);
    if (result != 0) {
        owned->writer->Keep();
    }
    return result;
}

bool Install()
{
    const std::unique_ptr<VSIFilesystemPluginCallbacksStruct,
                          decltype(&VSIFreeFilesystemPluginCallbacksStruct)>
        callbacks(VSIAllocFilesystemPluginCallbacksStruct(),
                  &VSIFreeFilesystemPluginCallbacksStruct);
    callbacks->stat = Stat;
    callbacks->unlink = Unlink;
    callbacks->rename = Rename;
    callbacks->open = Open;
    callbacks->tell = Tell;
    callbacks->seek = Seek;
    callbacks->read = Read;
    callbacks->eof = Eof;
    callbacks->write = Write;
    callbacks->flush = Flush;
    callbacks->truncate = Truncate;
    callbacks->close = Close;
    return VSIInstallPluginHandler(kPrefix, callbacks.get()) == 0;
}

} // namespace

CheckedFiles::CheckedFiles(EUse use, Step step)
    : m_writer(Registry::Get().Add(use, std::move(step)))
{
    static const bool isInstalled = Install();
    if (isInstalled) {
        m_prefix = kPrefix + std::to_string(m_writer->GetNumber());
    }
}

CheckedFiles::~CheckedFiles()
{
    Registry::Get().Remove(m_writer->GetNumber());
}

std::string CheckedFiles::NameFor(const std::string& absolutePath) const
{
    return m_prefix + absolutePath;
}

std::string CheckedFiles::GetFailure() const
{
    const int error = m_writer->GetError();
    return error == 0 ? std::string() : std::generic_category().message(error);
}

bool CheckedFiles::IsStopped() const noexcept
{
    return m_writer->IsStopped();
}

} // namespace Orvane::Import
