// One reader of a plug-in, driven from creation to destruction.
#pragma once

#include <Orvane/BCoordSysRepository.h>
#include <Orvane/BDataManagerProxy.h>
#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BLogger.h>
#include <Orvane/BProgress.h>
#include <Orvane/BSharedPtr.h>
#include <Orvane/BVectorLayer.h>

#include <cstdint>
#include <string>

namespace OrvaneHost {

/// Creates a reader for a file and destroys it at its end. Order of calls: UseDiskCache when it is
/// wanted, Open, then Preview or Read, then Close. Exceptions of the reader leave unchanged.
class ReaderSession
{
public:
    /// Asks the proxy whether it can read the data-source type of the path's extension, and has it
    /// make the reader. The options go to the making and to the opening.
    /// @param path as the user gave it, UTF-8
    /// @throws Orvane::BException at "ReaderSession::Create": "The file name <...> is not valid
    ///     UTF-8.", "The plug-in can not read data of the type <...>."
    ReaderSession(Orvane::BDataManagerProxy& proxy,
                  const std::string& path,
                  Orvane::BParamList params);
    ~ReaderSession();
    ReaderSession(const ReaderSession&) = delete;
    ReaderSession& operator=(const ReaderSession&) = delete;

    /// Has the layer keep its pages in a file. @param baseName of the cache file, UTF-8
    void UseDiskCache(const std::string& baseName);
    void Open();
    /// The answer to QUERY_COLUMNS.
    [[nodiscard]] Orvane::BParamList Preview();
    /// @param progress followed while reading; must outlive this call
    void Read(Orvane::BProgress& progress);
    void Close();

    /// The reader's last layer. @throws Orvane::BException("The reader has made no layer.",
    ///     "ReaderSession::GetLayer")
    [[nodiscard]] Orvane::BSharedPtr<Orvane::BVectorLayer> GetLayer() const;
    [[nodiscard]] std::uint8_t GetFailureFlag() const noexcept;
    [[nodiscard]] std::int32_t GetStatus() const noexcept;

private:
    Orvane::BDataManagerProxy& m_proxy;
    Orvane::BString m_path;
    Orvane::BParamList m_params;
    Orvane::BCoordSysRepository m_coordSysRepository;
    Orvane::BLogger m_logger;
    Orvane::BDataReader* m_reader = nullptr; ///< owned by m_proxy, given back in the destructor
};

/// The data-source type that a path is asked for: by its extension, case ignored; DS_TXT for every
/// extension that has no type of its own.
[[nodiscard]] const Orvane::BString& DataSourceTypeOf(const std::string& path);

} // namespace OrvaneHost
