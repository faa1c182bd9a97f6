// The reader protocol, step by step.
#include "ReaderSession.h"

#include "DiskCache.h"
#include "TerminalText.h"

#include <Orvane/BException.h>
#include <Orvane/Constants.h>

#include <algorithm>
#include <utility>

namespace OrvaneHost {

const Orvane::BString& DataSourceTypeOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    const std::size_t dot = path.rfind('.');
    const bool hasExtension =
        dot != std::string::npos && (slash == std::string::npos || dot > slash);
    std::string extension = hasExtension ? path.substr(dot) : std::string();
    std::transform(extension.begin(), extension.end(), extension.begin(), [](char byte) {
        return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
    });
    if (extension == ".csv") {
        return Orvane::DS_CSV;
    }
    if (extension == ".tsv") {
        return Orvane::DS_TSV;
    }
    if (extension == ".ssv") {
        return Orvane::DS_SSV;
    }
    return Orvane::DS_TXT;
}

ReaderSession::ReaderSession(Orvane::BDataManagerProxy& proxy,
                             const std::string& path,
                             Orvane::BParamList params)
    : m_proxy(proxy)
    , m_path(Orvane::BString::FromUtf8(path))
    , m_params(std::move(params))
{
    if (!TerminalText::IsUtf8(path)) {
        throw Orvane::BException(Orvane::BString::Format("The file name <%s> is not valid UTF-8.",
                                                         TerminalText::Escape(path).c_str()),
                                 "ReaderSession::Create");
    }
    const Orvane::BString& type = DataSourceTypeOf(path);
    if (!m_proxy.CanRead(type, m_params)) {
        throw Orvane::BException(
            Orvane::BString::Format("The plug-in can not read data of the type <%ls>.", type),
            "ReaderSession::Create");
    }
    m_reader = m_proxy.CreateReader(m_path, m_params, &m_coordSysRepository, &m_logger);
    if (m_reader == nullptr) {
        throw Orvane::BException("The plug-in made no reader.", "ReaderSession::Create");
    }
}

ReaderSession::~ReaderSession()
{
    try {
        m_proxy.DestroyObject(m_reader);
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // Rule: a reader that can not be destroyed changes nothing about what was read from it.
    }
}

void ReaderSession::UseDiskCache(const std::string& baseName)
{
    m_reader->SetDiskCache(true, Orvane::BString::FromUtf8(baseName), kDiskCachePageSize);
}

void ReaderSession::Open()
{
    m_reader->Open(m_path, m_params);
}

Orvane::BParamList ReaderSession::Preview()
{
    return m_reader->GetFilePreview(Orvane::QUERY_COLUMNS);
}

void ReaderSession::Read(Orvane::BProgress& progress)
{
    m_reader->SetProgress(&progress);
    try {
        m_reader->Read();
    } catch (...) {
        m_reader->SetProgress(nullptr);
        throw;
    }
    m_reader->SetProgress(nullptr);
}

void ReaderSession::Close()
{
    m_reader->Close();
}

Orvane::BSharedPtr<Orvane::BVectorLayer> ReaderSession::GetLayer() const
{
    const Orvane::BLayers& layers = m_reader->GetLayers();
    if (layers.GetCount() == 0 || !layers.GetAt(layers.GetCount() - 1)) {
        throw Orvane::BException("The reader has made no layer.", "ReaderSession::GetLayer");
    }
    return layers.GetAt(layers.GetCount() - 1);
}

std::uint8_t ReaderSession::GetFailureFlag() const noexcept
{
    return m_reader->GetFailureFlag();
}

std::int32_t ReaderSession::GetStatus() const noexcept
{
    return m_reader->GetStatus();
}

} // namespace OrvaneHost
