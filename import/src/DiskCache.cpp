// Estimates layers, looks at memory and disks, and decides.
#include "DiskCacheEstimate.h"
#include "FreeMemory.h"
#include "Wrap.h"

#include <Orvane/Constants.h>
#include <Orvane/Import/DiskCache.h>
#include <Orvane/Import/DisplayText.h>
#include <Orvane/Import/Session.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <linux/magic.h>
#include <memory>
#include <sys/vfs.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Orvane::Import {

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t kMebibyte = std::uint64_t{1} << 20;

bool IsKeptInMemory(const std::string& folder)
{
    struct statfs status = {};
    return statfs(folder.c_str(), &status) == 0 &&
           (status.f_type == TMPFS_MAGIC || status.f_type == static_cast<long>(RAMFS_MAGIC));
}

std::uint64_t GetFreeDisk(const std::string& folder)
{
    std::error_code error;
    const fs::space_info space = fs::space(folder, error);
    return error ? 0 : space.available;
}

/// Path of the cache file but for its ending.
std::string CacheBaseName(const std::string& folder)
{
    return folder + "/orvane-layer";
}

std::string GetDefaultFolder()
{
    const char* given = std::getenv("TMPDIR");
    if (given != nullptr && *given != '\0') {
        return given;
    }
    // Pages that are to leave memory would stay in it.
    return IsKeptInMemory("/tmp") && access("/var/tmp", W_OK | X_OK) == 0 ? "/var/tmp" : "/tmp";
}

/// @return the error number, 0 when a file can be made in the folder; it is gone again
int TryToMakeFile(const fs::path& folder)
{
    // A file that never has a name leaves nothing, whatever happens.
    int descriptor = open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, S_IRUSR | S_IWUSR);
    int error = descriptor == -1 ? errno : 0;
    if (error == EOPNOTSUPP || error == EISDIR) {
        std::string name = CacheBaseName(folder.native()) + ".XXXXXX";
        descriptor = mkstemp(name.data());
        error = descriptor == -1 || unlink(name.c_str()) != 0 ? errno : 0;
    }
    if (descriptor != -1) {
        close(descriptor);
    }
    return error;
}

std::string DescribeBytes(std::uint64_t bytes)
{
    constexpr std::uint64_t kGibibyte = kMebibyte << 10;
    if (bytes < kGibibyte) {
        return std::to_string(bytes / kMebibyte) + " MiB";
    }
    const std::uint64_t tenths = bytes / (kGibibyte / 10);
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " GiB";
}

/// Bytes of a column's entry in a page, without the characters of a text.
std::uint64_t WidthOf(Orvane::EVariantType type)
{
    switch (Orvane::StorageOf(type)) {
    case Orvane::EColumnStorage::Text:
        return 4;
    case Orvane::EColumnStorage::Boolean:
        return 1;
    default:
        // A whole number of the sample may become a double in later rows.
        return 8;
    }
}

/// The schema that the file will be read with, but for types that only later rows need.
Orvane::BAttributeDefs
AskSchema(const BPluginModule& module, const std::string& file, Orvane::BParamList params)
{
    params.Remove(Orvane::AUTO_SCHEMA_ALL_ROWS);
    Session session(module, file, params);
    session.Open();
    Orvane::BAttributeDefs schema = session.GetLayer()->GetSchema();
    session.Close();
    return schema;
}

DiskCacheChoice
ChooseByMemory(std::uint64_t layerBytes, std::uint64_t freeMemory, const std::string& folder)
{
    const std::uint64_t freeDisk = folder.empty() ? 0 : GetFreeDisk(folder);
    const EPagePlace place = ChoosePlace(layerBytes, freeMemory, freeDisk);
    if (place == EPagePlace::Memory) {
        return {};
    }
    std::string text = "the layer may take " + DescribeBytes(layerBytes) +
                       ", more than half of the " + DescribeBytes(freeMemory) +
                       " of memory that are free; ";
    if (place == EPagePlace::Disk) {
        text += "its pages go to a file in " + folder;
        return {true, CacheBaseName(folder), Note{"disk-cache", std::move(text)}};
    }
    text += folder.empty() ? "there is no folder for its pages"
                           : "there is no room for its pages in " + folder + " (" +
                                 DescribeBytes(freeDisk) + " free)";
    text += ", so that they stay in memory";
    return {false, {}, Note{"disk-cache-full", std::move(text)}};
}

[[noreturn]] void FailFolder(const std::string& folder, const std::string& reason)
{
    FailureFields fields;
    fields.kind = EFailureKind::Output;
    fields.code = "cache-folder";
    fields.what = "The disk cache cannot be kept in <" + DisplayText::Escape(folder) + ">.";
    fields.cause = reason;
    fields.value = folder;
    fields.underneath = {"BException",
                         "DiskCache",
                         Orvane::BString::Format("Could not keep the disk cache in <%s>.",
                                                 DisplayText::Escape(folder).c_str()),
                         Orvane::BString::FromUtf8(reason)};
    throw ImportFailure(std::move(fields));
}

} // namespace

std::string FindCacheFolder(const std::string& given)
{
    const std::string shown = given.empty() ? GetDefaultFolder() : given;
    if (!DisplayText::IsUtf8(shown)) {
        FailFolder(shown, "The name is not valid UTF-8.");
    }
    std::error_code error;
    const fs::path folder = fs::absolute(shown, error);
    const fs::file_status status = fs::status(folder, error);
    if (!fs::exists(status)) {
        FailFolder(shown,
                   status.type() == fs::file_type::not_found ? "The folder does not exist."
                                                             : error.message() + ".");
    }
    if (!fs::is_directory(status)) {
        FailFolder(shown, "It is no folder.");
    }
    if (const int number = TryToMakeFile(folder); number != 0) {
        FailFolder(shown, std::generic_category().message(number) + ".");
    }
    return folder.native();
}

std::optional<FileMeasure> FileMeasure::Of(const std::string& path)
{
    std::error_code error;
    if (!fs::is_regular_file(path, error)) {
        return std::nullopt;
    }
    FileMeasure measure;
    measure.fileBytes = fs::file_size(path, error);
    std::ifstream stream(path, std::ios::binary);
    std::string sample(kMebibyte, '\0');
    stream.read(sample.data(), static_cast<std::streamsize>(sample.size()));
    sample.resize(static_cast<std::size_t>(std::max<std::streamsize>(stream.gcount(), 0)));
    if (error || sample.empty()) {
        return std::nullopt;
    }
    const auto lines = std::max(std::count(sample.begin(), sample.end(), '\n'),
                                std::count(sample.begin(), sample.end(), '\r'));
    measure.sampleBytes = sample.size();
    measure.sampleLines = static_cast<std::uint64_t>(std::max<std::ptrdiff_t>(lines, 1));
    return measure;
}

bool IsWorthEstimating(std::uint64_t fileBytes, std::uint64_t freeMemory)
{
    constexpr std::uint64_t kLargestGrowth = 16;
    return fileBytes > freeMemory / 2 / kLargestGrowth;
}

std::uint64_t EstimateLayerBytes(const FileMeasure& file,
                                 const Orvane::BAttributeDefs& schema,
                                 const Orvane::BParamList& params)
{
    const double lineBytes =
        static_cast<double>(file.sampleBytes) / static_cast<double>(file.sampleLines);
    std::uint64_t width = 2 * sizeof(double);
    width += params.HasProperty(Orvane::Z_COLUMN) ? sizeof(double) : 0;
    bool hasTexts = params.HasProperty(Orvane::NAME_COLUMN);
    width += hasTexts ? WidthOf(Orvane::EVariantType::String) : 0;
    for (std::size_t index = 0; index < schema.GetCount(); ++index) {
        const Orvane::EVariantType type = schema.GetAt(index).GetType();
        width += WidthOf(type);
        hasTexts = hasTexts || Orvane::StorageOf(type) == Orvane::EColumnStorage::Text;
    }
    double rows = static_cast<double>(file.fileBytes) / lineBytes;
    const std::int32_t limit = params.GetInteger(Orvane::MAX_RECORDS);
    if (limit > 0) {
        rows = std::min(rows, static_cast<double>(limit));
    }
    const double rowBytes = static_cast<double>(width) + (hasTexts ? lineBytes : 0);
    return static_cast<std::uint64_t>(rows * rowBytes);
}

EPagePlace
ChoosePlace(std::uint64_t layerBytes, std::uint64_t freeMemory, std::uint64_t freeDisk) noexcept
{
    if (layerBytes <= freeMemory / 2) {
        return EPagePlace::Memory;
    }
    return layerBytes <= freeDisk ? EPagePlace::Disk : EPagePlace::MemoryNoDisk;
}

DiskCache::DiskCache(DiskCacheRequest request)
    : m_request(std::move(request))
{
    if (m_request.mode == DiskCacheRequest::EMode::Always) {
        m_folder = WrapFailures({}, [&] { return FindCacheFolder(m_request.folder); });
    }
}

namespace {

/// With the folder that nobody has named.
DiskCacheChoice ChooseByMemory(std::uint64_t layerBytes, std::uint64_t freeMemory)
{
    std::string folder;
    try {
        folder = FindCacheFolder({});
    } catch (const ImportFailure&) {
        // Rule: a folder that nobody asked for may be missing.
        folder.clear();
    }
    return ChooseByMemory(layerBytes, freeMemory, folder);
}

DiskCacheChoice ChooseByItself(const BPluginModule& module,
                               const std::string& file,
                               const Orvane::BParamList& options)
{
    const std::optional<FileMeasure> measure = FileMeasure::Of(file);
    const std::optional<std::uint64_t> freeMemory = MeasureFreeMemory("/", ProcessLimits::Get());
    if (!measure || !freeMemory || !IsWorthEstimating(measure->fileBytes, *freeMemory)) {
        return {};
    }
    std::uint64_t layerBytes = 0;
    try {
        layerBytes = EstimateLayerBytes(*measure, AskSchema(module, file, options), options);
    } catch (const std::exception&) {
        // Rule: what is wrong with a file is told by reading it, not by estimating its layer.
        return {};
    }
    return ChooseByMemory(layerBytes, *freeMemory);
}

} // namespace

DiskCacheChoice DiskCache::Choose(const BPluginModule& module,
                                  const std::string& file,
                                  const Orvane::BParamList& options) const
{
    return WrapFailures(file, [&]() -> DiskCacheChoice {
        switch (m_request.mode) {
        case DiskCacheRequest::EMode::Always:
            return {true, CacheBaseName(m_folder), {}};
        case DiskCacheRequest::EMode::Automatic:
            return ChooseByItself(module, file, options);
        case DiskCacheRequest::EMode::Never:
            break;
        }
        return {};
    });
}

DiskCacheChoice DiskCache::Choose(std::uint64_t layerBytes) const
{
    return WrapFailures({}, [&]() -> DiskCacheChoice {
        if (m_request.mode == DiskCacheRequest::EMode::Always) {
            return {true, CacheBaseName(m_folder), {}};
        }
        const std::optional<std::uint64_t> freeMemory =
            MeasureFreeMemory("/", ProcessLimits::Get());
        if (m_request.mode == DiskCacheRequest::EMode::Never || !freeMemory ||
            ChoosePlace(layerBytes, *freeMemory, 0) == EPagePlace::Memory) {
            return {};
        }
        return ChooseByMemory(layerBytes, *freeMemory);
    });
}

} // namespace Orvane::Import
