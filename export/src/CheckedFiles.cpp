// A GDAL file system over the C library's streams that remembers the first failure.
#include "CheckedFiles.h"

#include <cpl_vsi.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>
#include <unistd.h>

namespace OrvaneHost::CheckedFiles {

namespace {

constexpr const char* kPrefix = "/vsiorvane/";

int firstError = 0;

void KeepError() noexcept
{
    if (firstError == 0) {
        firstError = errno != 0 ? errno : EIO;
    }
}

enum class ELastStep { None, Read, Write };

struct OpenFile
{
    std::FILE* stream = nullptr; ///< null when the file could not be made
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
        KeepError();
    }
    file.lastStep = step;
}

/// GDAL gives names without the prefix.
std::string PathOf(const char* name)
{
    return *name == '/' ? std::string(name) : "/" + std::string(name);
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
    errno = 0;
    std::FILE* stream = std::fopen(PathOf(name).c_str(), access);
    if (stream == nullptr) {
        if (*access == 'r') {
            return nullptr;
        }
        // The shapefile's writer uses its code page file without a look at what it got.
        KeepError();
    }
    auto file = std::make_unique<OpenFile>();
    file->stream = stream;
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
        KeepError();
    }
    return result;
}

size_t Read(void* file, void* buffer, size_t size, size_t count)
{
    if (size == 0 || count == 0) {
        return count;
    }
    if (Get(file).stream == nullptr) {
        return 0;
    }
    Turn(Get(file), ELastStep::Read);
    errno = 0;
    const size_t taken = std::fread(buffer, size, count, Get(file).stream);
    // Writers read what they have written, and some write zeros where that fails.
    if (taken != count && std::ferror(Get(file).stream) != 0) {
        KeepError();
    }
    return taken;
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
    if (Get(file).stream == nullptr) {
        return 0;
    }
    Turn(Get(file), ELastStep::Write);
    errno = 0;
    const size_t written = std::fwrite(buffer, size, count, Get(file).stream);
    if (written != count) {
        KeepError();
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
        KeepError();
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
        KeepError();
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
        KeepError();
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

std::string NameFor(const std::string& absolutePath)
{
    static const bool isInstalled = Install();
    return isInstalled ? kPrefix + absolutePath.substr(1) : absolutePath;
}

void Reset()
{
    firstError = 0;
}

std::string GetFailure()
{
    return firstError == 0 ? std::string() : std::generic_category().message(firstError);
}

} // namespace OrvaneHost::CheckedFiles
