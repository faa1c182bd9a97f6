// The reader that the plug-in hands to the host.
#include "reader/BAsciiReader.h"

#include "file/AsciiFile.h"
#include "text/SeparatorRule.h"

#include <Orvane/BException.h>
#include <Orvane/Constants.h>

#include <utility>

namespace AsciiReader {

using Orvane::BException;
using Orvane::BParamList;
using Orvane::BString;

namespace {

/// Makes the engine of an opening. It has a name of its own for leak checkers: an engine that is
/// abandoned by rule was made here.
AsciiFile* MakeEngine(const BString& path, const BParamList& params)
{
    return new AsciiFile(path, AsciiFile::kRead, params);
}

} // namespace

BAsciiReader::BAsciiReader(const BString& path, const BParamList& params)
    : BVectorDataReader(path, params)
{}

BAsciiReader::~BAsciiReader()
{
    if (m_isOpen) {
        BVectorDataReader::Close();
    }
}

bool BAsciiReader::SupportsQuery(const BString& query)
{
    return query == Orvane::QUERY_COLUMNS;
}

bool BAsciiReader::IsOpen()
{
    return m_isOpen;
}

void BAsciiReader::DoOpen(const BString& path, const BParamList& params)
{
    const BString filePath = TestFileCapabilities(path, params);
    // Rule: a second opening without closing abandons the first engine.
    m_file = MakeEngine(filePath, params);
    const bool usesDiskCache = UsingDiskCache();
    const std::uint32_t pageSize = GetDiskCachePageSize();
    m_file->SetDiskCache(usesDiskCache, GetDiskCacheBaseName(), pageSize);
    m_file->Open();
    m_file->Read();
    ConfigureSeparator();
    m_file->BuildSchema();
    m_file->CreateLayer();
    GetLayers().Add(m_file->GetLayer());
    m_isOpen = true;
}

void BAsciiReader::ConfigureSeparator()
{
    using SeparatorRule::ESource;
    const BParamList& options = GetParams();
    const ESource source =
        SeparatorRule::Choose(options, [this] { return m_file->GetFileExtension(); });
    switch (source) {
    case ESource::Widths:
        // Rule: widths come with the empty pattern, which is valid, so that lines yield no fields.
        m_file->SetColumnWidths(options.GetIntegers(Orvane::FIELD_LENGTH));
        break;
    case ESource::TwoLines:
        m_file->AutodetectSeparator();
        break;
    case ESource::Unknown:
        // Rule: the location stands first here, and it is that of the reading.
        throw BException("BAsciiReader::Read", "Separator could not be determined automatically.");
    default:
        m_file->SetSeparator(SeparatorRule::MakePattern(source, options));
    }
}

void BAsciiReader::DoRead()
{
    if (GetProgress() != nullptr) {
        m_file->SetProgress(GetProgress());
    }
    SharingRule sharing;
    sharing.threads = GetThreadCount();
    m_file->SetSharing(sharing);
    const std::int32_t limit = GetParams().HasProperty(Orvane::MAX_RECORDS)
                                   ? GetParams().GetInteger(Orvane::MAX_RECORDS, 0)
                                   : 0;
    if (!m_file->BuildLayer(limit)) {
        SetFailureFlag(1);
    }
    if (GetProgress() != nullptr && !GetProgress()->Report(m_file->GetRecordsRead(), 0)) {
        SetStatus(Orvane::EManagerStatus::kCancelled);
    }
}

void BAsciiReader::DoClose()
{
    delete std::exchange(m_file, nullptr);
    GetParams().Clear();
    m_isOpen = false;
}

BParamList BAsciiReader::GetFilePreview(const BString& query)
{
    if (query != Orvane::QUERY_COLUMNS) {
        return {};
    }
    if (!m_isOpen) {
        throw BException("File is not open and can not be read.", "BAsciiReader::GetFilePreview");
    }
    ConfigureSeparator();
    return m_file->ReadPreview();
}

} // namespace AsciiReader
