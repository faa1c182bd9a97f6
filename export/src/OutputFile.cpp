// Hidden folder, synchronising and moving.
#include "OutputFile.h"

#include <Orvane/Import/Failure.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace Orvane::Import {

namespace fs = std::filesystem;

namespace {

std::string ReasonOf(int error)
{
    return std::generic_category().message(error);
}

/// @return the error number, 0 when everything of the file is on the disk
int Synchronise(const fs::path& path)
{
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor == -1) {
        return errno;
    }
    const int error = fsync(descriptor) == 0 ? 0 : errno;
    close(descriptor);
    // Some file systems cannot synchronise a folder; the files themselves are there.
    return error == EINVAL ? 0 : error;
}

/// Rule: who may read and write an output is as it was. Some file systems have no permissions.
void KeepPermissions(const fs::path& old, const fs::path& file)
{
    std::error_code error;
    const fs::file_status status = fs::status(old, error);
    if (fs::is_regular_file(status)) {
        fs::permissions(file, status.permissions(), error);
    }
}

std::array<std::int64_t, 5> IdentityOf(const struct stat& status)
{
    return {static_cast<std::int64_t>(status.st_dev),
            static_cast<std::int64_t>(status.st_ino),
            status.st_size,
            status.st_mtim.tv_sec,
            status.st_mtim.tv_nsec};
}

/// An open file.
class Descriptor
{
public:
    explicit Descriptor(int descriptor)
        : m_descriptor(descriptor)
    {}

    ~Descriptor() { static_cast<void>(Close()); }

    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int Get() const noexcept { return m_descriptor; }

    /// @return 0 when that worked
    [[nodiscard]] int Close()
    {
        const int descriptor = std::exchange(m_descriptor, -1);
        return descriptor == -1 ? 0 : close(descriptor);
    }

private:
    int m_descriptor;
};

constexpr std::string_view kHiddenPrefix = ".orvane-";
constexpr std::string_view kHiddenEnding = "XXXXXX";

/// @param operation of flock
/// @return the open and locked folder, -1 when it is in use or gone, or cannot be locked
int Lock(const fs::path& folder, int operation)
{
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat opened = {};
    struct stat named = {};
    const bool isLocked = descriptor != -1 && flock(descriptor, operation) == 0 &&
                          fstat(descriptor, &opened) == 0 && lstat(folder.c_str(), &named) == 0 &&
                          opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
    if (!isLocked && descriptor != -1) {
        close(descriptor);
    }
    return isLocked ? descriptor : -1;
}

bool IsHiddenName(const std::string& name)
{
    return name.size() == kHiddenPrefix.size() + kHiddenEnding.size() &&
           name.compare(0, kHiddenPrefix.size(), kHiddenPrefix) == 0;
}

/// Removes the hidden folders of programs that were killed. What is in use, of somebody else, or
/// no folder of plain files stays.
void RemoveAbandoned(const fs::path& parent)
{
    std::error_code error;
    for (fs::directory_iterator entry(parent, error), end; !error && entry != end;
         entry.increment(error)) {
        if (!IsHiddenName(entry->path().filename().native())) {
            continue;
        }
        const int lock = Lock(entry->path(), LOCK_EX | LOCK_NB);
        struct stat status = {};
        if (lock != -1 && fstat(lock, &status) == 0 && status.st_uid == geteuid()) {
            std::error_code inner;
            for (fs::directory_iterator file(entry->path(), inner), last; !inner && file != last;
                 file.increment(inner)) {
                std::error_code ignored;
                if (fs::is_regular_file(file->symlink_status(ignored))) {
                    fs::remove(file->path(), ignored);
                }
            }
            // Fails, as it should, when something else is in it.
            rmdir(entry->path().c_str());
        }
        if (lock != -1) {
            close(lock);
        }
    }
}

/// Files of a folder that are replaced or removed one by one; those done so far go back to what
/// they were unless all are kept. Files of systems without hard links do not go back.
class Replacement
{
public:
    /// @param keptFolder on the same file system, where the old files stay meanwhile
    explicit Replacement(fs::path keptFolder)
        : m_keptFolder(std::move(keptFolder))
    {}

    ~Replacement()
    {
        std::error_code ignored;
        for (; !m_steps.empty(); m_steps.pop_back()) {
            const Step& step = m_steps.back();
            if (!step.kept.empty()) {
                fs::rename(step.kept, step.place, ignored);
            } else if (step.isNew) {
                fs::remove(step.place, ignored);
            }
        }
    }

    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    void Move(const fs::path& from, const fs::path& place, std::error_code& error)
    {
        Step step = MakeStep(place);
        fs::rename(from, place, error);
        if (!error) {
            m_steps.push_back(std::move(step));
        }
    }

    /// Nothing when there is no such file.
    void Remove(const fs::path& place, std::error_code& error)
    {
        error.clear();
        Step step = MakeStep(place);
        if (!step.isNew && fs::remove(place, error)) {
            m_steps.push_back(std::move(step));
        }
    }

    void Keep() noexcept { m_steps.clear(); }

private:
    struct Step
    {
        fs::path place;
        fs::path kept; ///< a second name of the old file; empty without one
        bool isNew = false;
    };

    [[nodiscard]] Step MakeStep(const fs::path& place) const
    {
        std::error_code error;
        Step step{place, m_keptFolder / (place.filename().native() + ".old"), false};
        step.isNew = fs::symlink_status(place, error).type() == fs::file_type::not_found;
        fs::create_hard_link(place, step.kept, error);
        if (error) {
            step.kept.clear();
        }
        return step;
    }

    fs::path m_keptFolder;
    std::vector<Step> m_steps;
};

} // namespace

OutputFile::OutputFile(const std::string& out, const std::string& input)
    : m_shownPath(out)
{
    std::error_code error;
    const fs::file_status status = fs::status(out, error);
    RequireKnown(status, error);
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        Fail("output-not-a-file", "Something that is no file is in its place.");
    }
    m_file = fs::absolute(out, error);
    FollowLinks();
    if (fs::exists(status) && access(m_file.c_str(), W_OK) != 0) {
        Fail("output-write", "The file in its place: " + ReasonOf(errno) + ".");
    }
    const bool isInput = fs::exists(status) && fs::equivalent(m_file, input, error);
    if (!isInput && error == std::errc::io_error) {
        Fail("output-write", error.message());
    }
    if (isInput) {
        FailureFields fields;
        fields.kind = EFailureKind::Request;
        fields.code = "output-is-input";
        fields.what = "The output is the input; give it another name.";
        fields.file = out;
        throw ImportFailure(std::move(fields));
    }
    const fs::path folder = m_file.parent_path();
    if (!fs::is_directory(folder, error)) {
        Fail("output-folder", "Its folder does not exist.");
    }
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        Fail("output-folder", "Its folder: " + ReasonOf(errno) + ".");
    }
    RequireUnused();
}

/// Rule: what the system cannot tell does not count as a free place, where a file that is added to
/// would be lost. A folder that lets nobody look is told as such later.
void OutputFile::RequireKnown(const fs::file_status& status, const std::error_code& error) const
{
    if (status.type() == fs::file_type::none && error != std::errc::permission_denied) {
        Fail("output-write", error.message());
    }
}

/// Rule: a link leads to the place of the output, whether or not there is a file yet.
void OutputFile::FollowLinks()
{
    constexpr int kMostLinks = 40; // as many as the system follows
    std::error_code error;
    const auto isLink = [&] {
        const fs::file_status status = fs::symlink_status(m_file, error);
        RequireKnown(status, error);
        return fs::is_symlink(status);
    };
    for (int count = 0; isLink(); ++count) {
        if (count == kMostLinks) {
            Fail("output-folder", ReasonOf(ELOOP) + ".");
        }
        const fs::path target = fs::read_symlink(m_file, error);
        if (error) {
            Fail("output-folder", error.message() + ".");
        }
        m_file = m_file.parent_path() / target;
    }
}

void OutputFile::RequireUnused() const
{
    std::error_code error;
    for (const char* suffix : {"-wal", "-journal"}) {
        const fs::file_status status = fs::status(m_file.native() + suffix, error);
        RequireKnown(status, error);
        if (fs::exists(status)) {
            Fail("output-in-use",
                 std::string(
                     "Another program has it open, or left it unfinished: there is a file ") +
                     m_file.filename().native() + suffix + " beside it.");
        }
    }
}

OutputFile::~OutputFile()
{
    RemoveWorkFolder();
}

void OutputFile::RemoveWorkFolder() noexcept
{
    if (!m_workFolder.empty()) {
        std::error_code error;
        fs::remove_all(m_workFolder, error);
        m_workFolder.clear();
    }
    if (m_lock != -1) {
        close(m_lock);
        m_lock = -1;
    }
}

void OutputFile::Fail(const char* code, const std::string& reason) const
{
    FailureFields fields;
    fields.kind = EFailureKind::Output;
    fields.code = code;
    fields.what = "The output cannot be written.";
    fields.file = m_shownPath;
    fields.cause = reason;
    fields.underneath = {"BException",
                         "OutputTarget",
                         BString::Format("Could not write <%s>.", m_shownPath.c_str()),
                         BString::FromUtf8(reason)};
    throw ImportFailure(std::move(fields));
}

void OutputFile::Begin()
{
    if (!m_workFolder.empty()) {
        return;
    }
    RemoveAbandoned(m_file.parent_path());
    // Between making and locking another program may consider the folder abandoned; then
    // another is made. File systems without locks do without: nothing is removed there, either.
    constexpr int kMostTries = 10;
    const std::string pattern =
        (m_file.parent_path() / (std::string(kHiddenPrefix) + std::string(kHiddenEnding))).native();
    for (int tries = 0; tries < kMostTries; ++tries) {
        std::string name = pattern;
        if (mkdtemp(name.data()) == nullptr) {
            Fail("output-folder", ReasonOf(errno));
        }
        m_workFolder = name;
        m_lock = Lock(m_workFolder, LOCK_EX);
        std::error_code error;
        if (m_lock != -1 || fs::exists(m_workFolder, error)) {
            break;
        }
    }
}

bool OutputFile::IsThere() const
{
    std::error_code error;
    const fs::file_status status = fs::status(m_file, error);
    RequireKnown(status, error);
    return fs::exists(status);
}

void OutputFile::CopyOld(const std::function<void()>& step)
{
    const auto require = [this](bool isGood) {
        if (!isGood) {
            Fail("output-write", ReasonOf(errno));
        }
    };
    Descriptor from(open(m_file.c_str(), O_RDONLY | O_CLOEXEC));
    require(from.Get() != -1);
    struct stat status = {};
    require(fstat(from.Get(), &status) == 0);
    m_copied = IdentityOf(status);
    Descriptor to(open(GetWorkFile().c_str(),
                       O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                       status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO)));
    require(to.Get() != -1);
    std::vector<char> bytes(std::size_t{1} << 20U);
    ssize_t count = 0;
    while ((count = read(from.Get(), bytes.data(), bytes.size())) != 0) {
        if (count < 0 && errno == EINTR) {
            continue;
        }
        require(count > 0);
        for (ssize_t done = 0; done < count;) {
            const ssize_t written =
                write(to.Get(), bytes.data() + done, static_cast<std::size_t>(count - done));
            require(written >= 0 || errno == EINTR);
            done += written > 0 ? written : 0;
        }
        step();
    }
    require(to.Close() == 0);
}

std::vector<fs::path> OutputFile::ListFiles() const
{
    std::error_code error;
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(m_workFolder, error)) {
        if (entry.path() != GetWorkFile()) {
            files.push_back(entry.path());
        }
    }
    if (error) {
        Fail("output-write", error.message());
    }
    files.push_back(GetWorkFile());
    return files;
}

void OutputFile::Flush(const std::function<void()>& step) const
{
    constexpr std::uintmax_t kPiece = std::uintmax_t{16} << 20U;
    for (const fs::path& file : ListFiles()) {
        const Descriptor opened(open(file.c_str(), O_RDONLY | O_CLOEXEC));
        std::error_code error;
        const std::uintmax_t size = fs::file_size(file, error);
        if (opened.Get() == -1 || error) {
            continue; // Prepare tells what is wrong with it
        }
        const auto write = [&](std::uintmax_t offset, unsigned flags) {
            const int result = ::sync_file_range(opened.Get(),
                                                 static_cast<off64_t>(offset),
                                                 static_cast<off64_t>(kPiece),
                                                 SYNC_FILE_RANGE_WRITE | flags);
            return result == 0 ? 0 : errno;
        };
        // The disk has the next piece already while one is waited for.
        int failure = write(0, 0);
        for (std::uintmax_t offset = 0; offset < size && failure == 0; offset += kPiece) {
            failure = write(offset + kPiece, 0);
            if (failure == 0) {
                failure = write(offset, SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WAIT_AFTER);
            }
            step();
        }
        // Not every file system has this; an error of the disk is told here or never.
        if (failure == EIO || failure == ENOSPC || failure == EDQUOT) {
            Fail("output-write", ReasonOf(failure));
        }
    }
}

void OutputFile::Prepare() const
{
    if (m_copied) {
        RequireUnused();
        struct stat status = {};
        if (stat(m_file.c_str(), &status) != 0 || IdentityOf(status) != *m_copied) {
            Fail("output-in-use", "Another program has changed it meanwhile.");
        }
    }
    for (const fs::path& file : ListFiles()) {
        if (const int number = Synchronise(file); number != 0) {
            Fail("output-write", ReasonOf(number));
        }
        // The constructor has looked at the main file's place only, and a shapefile whose second
        // part could not be moved would be half an old and half a new one.
        std::error_code error;
        const fs::file_status status = fs::status(m_file.parent_path() / file.filename(), error);
        if (fs::exists(status) && !fs::is_regular_file(status)) {
            Fail("output-not-a-file",
                 "Something that is no file is in the place of its part " +
                     file.filename().native() + ".");
        }
    }
}

void OutputFile::Commit()
{
    // Of two programs that have added to copies of one file the first holds it until its own is in
    // the place; the other then sees that.
    const Descriptor old(m_copied ? open(m_file.c_str(), O_RDONLY | O_CLOEXEC) : -1);
    if (old.Get() != -1) {
        static_cast<void>(flock(old.Get(), LOCK_EX));
    }
    Prepare();
    // Before the replacement puts second names of the old files beside them.
    const std::vector<fs::path> files = ListFiles();
    std::error_code error;
    std::vector<fs::path> stale = m_stale;
    // Files that describe the old main file, in formats of several files.
    const auto addStale = [&](const char* main, std::initializer_list<const char*> others) {
        for (const char* const extension : others) {
            if (m_file.extension() == main) {
                stale.push_back(fs::path(m_file).replace_extension(extension));
            }
        }
    };
    addStale(".shp", {".prj", ".cpg", ".qix", ".sbn", ".sbx"});
    addStale(".tab", {".ind"});
    addStale(".gml", {".gfs"});
    Replacement replacement(m_workFolder);
    for (const fs::path& file : stale) {
        replacement.Remove(file, error);
        if (error) {
            Fail("output-write", error.message());
        }
    }
    for (const fs::path& file : files) {
        KeepPermissions(m_file.parent_path() / file.filename(), file);
        replacement.Move(file, m_file.parent_path() / file.filename(), error);
        if (error) {
            Fail("output-write", error.message());
        }
    }
    replacement.Keep();
    Synchronise(m_file.parent_path());
    RemoveWorkFolder();
}

} // namespace Orvane::Import
