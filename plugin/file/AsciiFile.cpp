// Construction, opening, line reading and sampling of the engine.
#include "file/AsciiFile.h"

#include "text/Constants.h"

#include <Orvane/BException.h>
#include <Orvane/BFileUtilities.h>
#include <Orvane/BNumbers.h>
#include <Orvane/BStringQt.h>
#include <Orvane/Constants.h>

#include <QDir>
#include <QFileInfo>

#include <filesystem>
#include <system_error>
#include <utility>

namespace AsciiReader {

using Orvane::BException;
using Orvane::BParamList;
using Orvane::BString;
using Orvane::EVariantType;

namespace {

/// Longest path, in UTF-16 units, of the plain message for files that can't be written.
constexpr std::size_t kLongestPlainPath = 260;

BParamList Normalised(BParamList params)
{
    using namespace Orvane;
    const auto isText = [&params](const BString& key) {
        return params.HasProperty(key) && params.GetValueType(key) == EVariantType::String;
    };
    // Rule: the column numbers are converted only when X and Y are both there.
    if (params.HasProperty(X_COLUMN) && params.HasProperty(Y_COLUMN)) {
        for (const BString* key : {&X_COLUMN, &Y_COLUMN, &Z_COLUMN}) {
            if (isText(*key)) {
                const std::int32_t column = BNumbers::Atoi(params.GetString(*key).Ascii());
                params.Remove(*key);
                params.Add(*key, column);
            }
        }
    }
    // Rule: a text counts as true only when its integer value is 1; "true" does not.
    if (isText(FIRST_LINE_COLUMN_NAMES)) {
        const bool isOne = BNumbers::Atoi(params.GetString(FIRST_LINE_COLUMN_NAMES).Ascii()) == 1;
        params.Remove(FIRST_LINE_COLUMN_NAMES);
        params.Add(FIRST_LINE_COLUMN_NAMES, isOne);
    }
    if (!params.HasProperty(AUTO_SCHEMA) && !params.HasProperty(COLUMN_DEFINITION)) {
        params.Add(AUTO_SCHEMA, std::int32_t{1});
    }
    return params;
}

} // namespace

AsciiFile::AsciiFile(const BString& fileName,
                     std::uint32_t mode,
                     const BParamList& params,
                     std::size_t blockSize)
    : m_separator(Constants::CommaSplit())
    , m_fileName(fileName)
    , m_fullPath(Orvane::BFileUtilities::CompletePath(fileName))
    , m_mode(mode)
    , m_params(Normalised(params))
    , m_headerRule(m_params)
    , m_lines(blockSize)
    , m_xFormat(m_params.GetString(Orvane::X_COORDINATE_FORMAT))
    , m_yFormat(m_params.GetString(Orvane::Y_COORDINATE_FORMAT))
    , m_zFormat(m_params.GetString(Orvane::Z_COORDINATE_FORMAT))
{
    if (m_params.HasProperty(Orvane::IGNORE_BLANK_ROWS)) {
        m_ignoreBlankRows = m_params.GetBoolean(Orvane::IGNORE_BLANK_ROWS, false);
    }
}

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

bool AsciiFile::NextLine(SourceLine& line)
{
    return m_lines.Next(m_params, m_ignoreBlankRows, line);
}

void AsciiFile::GetSafeLine(BString& line)
{
    SourceLine next;
    NextLine(next);
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
    const std::int64_t wanted = m_params.HasProperty(Constants::SampleSizeKey())
                                    ? m_params.GetInteger(Constants::SampleSizeKey(), 0)
                                    : Constants::kDefaultSampleSize;
    BString line;
    while (static_cast<std::int64_t>(m_sampleLines.size()) < wanted) {
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

void AsciiFile::SetDiskCache(bool use, std::uint32_t pageSize, const BString& baseName)
{
    m_usesDiskCache = use;
    m_diskCachePageSize = pageSize;
    m_diskCacheBaseName = baseName;
}

} // namespace AsciiReader
