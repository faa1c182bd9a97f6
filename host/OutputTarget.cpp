// Hidden folder, synchronising and moving.
#include "OutputTarget.h"

#include "Failure.h"

#include <Orvane/BException.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace OrvaneHost {

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
    // Some file systems can not synchronise a folder; the files themselves are there.
    return error == EINVAL ? 0 : error;
}

} // namespace

OutputTarget::OutputTarget(const std::string& out, const std::string& input)
    : m_shownPath(out)
{
    std::error_code error;
    m_file = fs::absolute(out, error);
    if (fs::is_symlink(m_file, error)) {
        const fs::path target = fs::weakly_canonical(m_file, error);
        if (error) {
            Fail(error.message());
        }
        m_file = target;
    }
    const fs::file_status status = fs::status(m_file, error);
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        Fail("Something that is no file is in its place.");
    }
    if (fs::exists(status) && fs::equivalent(m_file, input, error)) {
        throw UsageError("The output is the input; give it another name.");
    }
    const fs::path folder = m_file.parent_path();
    if (!fs::is_directory(folder, error)) {
        Fail("Its folder does not exist.");
    }
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        Fail("Its folder: " + ReasonOf(errno) + ".");
    }
    for (const char* suffix : {"-wal", "-journal"}) {
        if (fs::exists(m_file.native() + suffix, error)) {
            Fail(std::string(
                     "Another program has it open, or left it unfinished: there is a file ") +
                 m_file.filename().native() + suffix + " beside it.");
        }
    }
}

OutputTarget::~OutputTarget()
{
    if (!m_workFolder.empty()) {
        std::error_code error;
        fs::remove_all(m_workFolder, error);
    }
}

void OutputTarget::Fail(const std::string& reason) const
{
    throw Orvane::BException(Orvane::BString::Format("Could not write <%s>.", m_shownPath.c_str()),
                             "OutputTarget",
                             reason);
}

void OutputTarget::Begin()
{
    std::string pattern = (m_file.parent_path() / ".orvane-XXXXXX").native();
    if (mkdtemp(pattern.data()) == nullptr) {
        Fail(ReasonOf(errno));
    }
    m_workFolder = pattern;
}

void OutputTarget::Commit()
{
    std::error_code error;
    std::vector<fs::path> sideFiles;
    for (const fs::directory_entry& entry : fs::directory_iterator(m_workFolder, error)) {
        if (entry.path() != GetWorkFile()) {
            sideFiles.push_back(entry.path());
        }
    }
    if (error) {
        Fail(error.message());
    }
    std::vector<fs::path> files = sideFiles;
    files.push_back(GetWorkFile());
    for (const fs::path& file : files) {
        if (const int number = Synchronise(file); number != 0) {
            Fail(ReasonOf(number));
        }
    }
    if (m_file.extension() == ".shp" || m_file.extension() == ".SHP") {
        for (const char* extension : {".prj", ".cpg", ".qix", ".sbn", ".sbx"}) {
            fs::remove(fs::path(m_file).replace_extension(extension), error);
        }
    }
    for (const fs::path& file : files) {
        fs::rename(file, m_file.parent_path() / file.filename(), error);
        if (error) {
            Fail(error.message());
        }
    }
    Synchronise(m_file.parent_path());
}

} // namespace OrvaneHost
