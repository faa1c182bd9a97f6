// Construction, opening, line reading and sampling of the engine.
#include "file/AsciiFile.h"

#include "text/OptionRules.h"
#include "text/SplitPatterns.h"

#include <Orvane/BException.h>
#include <Orvane/BFileUtilities.h>
#include <Orvane/BStringQt.h>

#include <QDir>
#include <QFileInfo>

#include <filesystem>
#include <system_error>
#include <utility>

namespace AsciiReader {

using Orvane::BException;
using Orvane::BParamList;
using Orvane::BString;

namespace {

/// Longest path, in UTF-16 units, of the plain message for files that cannot be written.
constexpr std::size_t kLongestPlainPath = 260;

} // namespace

AsciiFile::AsciiFile(const BString& fileName,
                     std::uint32_t mode,
                     const BParamList& params,
                     std::size_t blockSize)
    : m_separator(SplitPatterns::CommaSplit())
    , m_fileName(fileName)
    , m_fullPath(Orvane::BFileUtilities::CompletePath(fileName))
    , m_mode(mode)
    , m_params(OptionRules::Normalise(params))
    , m_options(m_params)
    , m_headerRule(m_options)
    , m_lines(m_options, blockSize)
{}

AsciiFile::~AsciiFile() = default;

void AsciiFile::Open()
{
    const std::uint32_t mode = std::exchange(m_mode, kNotOpen);
    if (mode == kWrite) {
        OpenForWriting();
    } else if (mode == kRead) {
        OpenForReading();
    } else {
        throw BException("Transformation only is not currently supported.", "AsciiFile::Open");
    }
    m_mode = mode;
}

void AsciiFile::OpenForWriting()
{
    const QString path = Orvane::MakeQString(m_fullPath);
    m_lines.SetDevice(nullptr);
    m_device = std::make_unique<QFile>(path);
    const QDir folder(QFileInfo(path).path());
    if (!folder.exists()) {
        // A failure shows when the file is opened.
        folder.mkpath(QStringLiteral("."));
    }
    if (!m_device->open(QIODevice::WriteOnly)) {
        const char* const text = m_fullPath.GetLength() <= kLongestPlainPath
                                     ? "Could not open the file <%ls> for writing."
                                     : "Path too long; could not open file <%ls> for writing.";
        throw BException(BString::Format(text, m_fullPath), "AsciiFile::Open");
    }
}

void AsciiFile::OpenForReading()
{
    if (!Orvane::BFileUtilities::Exists(m_fullPath)) {
        // Rule: this location alone begins with a B.
        throw Orvane::BFileNotFoundException("BAsciiFile::Open", m_fullPath);
    }
    m_lines.SetDevice(nullptr);
    m_device = std::make_unique<QFile>(Orvane::MakeQString(m_fullPath));
    std::error_code error;
    const std::string path = m_fullPath.ToUtf8();
    // Rule: what has no size counts as empty; a pipe is not waited for to learn that.
    if (std::filesystem::is_fifo(path, error)) {
        throw BException(
            BString::Format("Could not open a stream for <%ls> for reading.", m_fullPath),
            "AsciiFile::Open");
    }
    // Unbuffered: blocks are read straight to where they are decoded.
    if (!m_device->open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        throw BException(BString::Format("Could not open the file <%ls> for reading.", m_fullPath),
                         "AsciiFile::Open");
    }
    if (m_device->atEnd()) {
        throw BException(
            BString::Format("Could not open a stream for <%ls> for reading.", m_fullPath),
            "AsciiFile::Open");
    }
    m_lines.SetDevice(m_device.get());
}

void AsciiFile::GetSafeLine(BString& line)
{
    SourceLine next;
    m_lines.Next(next);
    line = next.text.ToString();
}

bool AsciiFile::AtEnd() const
{
    return m_lines.AtEnd();
}

bool AsciiFile::IsHeaderLine(const BString& line)
{
    return m_headerRule.Test(TextView(line.View()));
}

void AsciiFile::RequireReadMode(const char* location) const
{
    if (m_mode != kRead) {
        throw BException("The file is not in read mode.", location);
    }
}

void AsciiFile::Read()
{
    RequireReadMode("AsciiFile::Read");
    m_sampleLines.clear();
    m_headerRule.Reset();
    BString line;
    while (static_cast<std::int64_t>(m_sampleLines.size()) < m_options.sampleSize) {
        GetSafeLine(line);
        if (line.IsEmpty() && !m_lines.HasPending()) {
            break;
        }
        if (!IsHeaderLine(line)) {
            m_sampleLines.push_back(line);
        }
    }
    m_lines.Rewind();
}

BString AsciiFile::GetFileExtension() const
{
    const std::u16string_view name = m_fileName.View();
    const std::size_t dot = name.rfind(u'.');
    if (dot == std::u16string_view::npos) {
        // Rule: location and message change places here.
        throw BException("AsciiFile::GetFileExtension", "There was no '.' in the filename.");
    }
    return {name.substr(dot)};
}

void AsciiFile::SetColumnWidths(std::vector<std::int32_t> columnWidths)
{
    m_separator = QRegularExpression();
    m_columnWidths = std::move(columnWidths);
}

void AsciiFile::SetSeparator(QRegularExpression separator)
{
    m_columnWidths.clear();
    m_separator = std::move(separator);
}

void AsciiFile::SetDiskCache(bool use, const BString& baseName, std::uint32_t pageSize)
{
    m_usesDiskCache = use;
    m_diskCacheBaseName = baseName;
    m_diskCachePageSize = pageSize;
}

} // namespace AsciiReader
