// The engine of one opened ASCII point file.
#pragma once

#include "file/SharedRows.h"
#include "lines/HeaderRule.h"
#include "lines/LineSource.h"
#include "schema/AsciiSchema.h"
#include "text/AsciiUtils.h"
#include "text/ReadOptions.h"

#include <Orvane/BAttributeDefs.h>
#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BProgress.h>
#include <Orvane/BSharedPtr.h>
#include <Orvane/BVectorLayer.h>

#include <QFile>
#include <QRegularExpression>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace AsciiReader {

/// Opens a delimited file, hands out its logical lines, and turns them into a layer of points.
///
/// Calling order: construct, Open, Read (gathers the sample lines), SetSeparator or SetColumnWidths
/// or AutodetectSeparator, BuildSchema, CreateLayer, then BuildLayer any number of times;
/// ReadPreview at any time after Open. The engine owns the file, its pending lines and its copy of
/// the options; it shares the layer with every caller of GetLayer. Used by one thread at a time;
/// the threads that share a read end with it.
class AsciiFile
{
public:
    static constexpr std::uint32_t kNotOpen = 0;
    static constexpr std::uint32_t kRead = 1;
    static constexpr std::uint32_t kWrite = 2;

    /// @param fileName as the caller names it; decides extension and layer name
    /// @param mode kRead or kWrite
    /// @param params copied and normalised
    /// @param blockSize bytes read at a time; only tests choose another than the rule's
    AsciiFile(const Orvane::BString& fileName,
              std::uint32_t mode,
              const Orvane::BParamList& params,
              std::size_t blockSize = LineSource::kBlockSize);
    virtual ~AsciiFile();
    AsciiFile(const AsciiFile&) = delete;
    AsciiFile& operator=(const AsciiFile&) = delete;

    /// Opens the file for the mode given at construction; any failure leaves mode kNotOpen.
    void Open();
    /// Hands out the next logical line. An empty one with no lines pending is the end of the file.
    void GetSafeLine(Orvane::BString& line);

    /// The same.
    void GetLine(Orvane::BString& line) { GetSafeLine(line); }

    /// True when the file is at its end and no lines are pending.
    [[nodiscard]] bool AtEnd() const;
    /// Whether the line belongs to the file's header; counts calls in count mode.
    bool IsHeaderLine(const Orvane::BString& line);
    /// Gathers the sample lines and rewinds the file.
    void Read();
    /// The extension of the file name, "." included.
    [[nodiscard]] Orvane::BString GetFileExtension() const;

    /// Switches to fixed widths: the separator pattern becomes the empty pattern.
    void SetColumnWidths(std::vector<std::int32_t> columnWidths);
    /// Switches to pattern splitting: the column widths are cleared.
    void SetSeparator(QRegularExpression separator);
    /// Chooses the comma or the tab pattern by the next two lines, which stay pending.
    void AutodetectSeparator();
    /// Consumes the next two lines. @return them split into columns, and whether the first one
    /// holds the column names
    Orvane::BParamList ReadPreview();

    /// Decides the schema, from the sample lines or from all rows; the file is rewound then.
    void BuildSchema();
    /// Makes the layer that BuildLayer fills, named after the file.
    void CreateLayer();
    /// Reads data rows into the layer. @param limit most rows; 0 or less: no limit
    /// @return false when the limit ended the reading
    bool BuildLayer(std::int32_t limit);

    [[nodiscard]] Orvane::BSharedPtr<Orvane::BVectorLayer> GetLayer() const { return m_layer; }

    /// Where the layer keeps its pages. @param pageSize rows of a page
    void SetDiskCache(bool use, const Orvane::BString& baseName, std::uint32_t pageSize);

    /// How reading is shared between threads; the layer does not depend on it.
    void SetSharing(const SharingRule& rule) noexcept { m_sharing = rule; }

    /// The progress object is consulted once per row; null for none.
    void SetProgress(Orvane::BProgress* progress) noexcept { m_progress = progress; }

    /// Line number of the last row that BuildLayer read.
    [[nodiscard]] std::uint32_t GetRecordsRead() const noexcept { return m_currentLine; }

    [[nodiscard]] std::uint32_t GetMode() const noexcept { return m_mode; }

    [[nodiscard]] const Orvane::BAttributeDefs& GetSchema() const noexcept { return m_schema; }

    [[nodiscard]] const Orvane::BParamList& GetParams() const noexcept { return m_params; }

    [[nodiscard]] const QRegularExpression& GetSeparator() const noexcept { return m_separator; }

    [[nodiscard]] const std::vector<std::int32_t>& GetColumnWidths() const noexcept
    {
        return m_columnWidths;
    }

    [[nodiscard]] const std::vector<Orvane::BString>& GetSampleLines() const noexcept
    {
        return m_sampleLines;
    }

    [[nodiscard]] const Orvane::BString& GetFirstLine() const noexcept { return m_firstLine; }

    [[nodiscard]] const Orvane::BString& GetFullPath() const noexcept { return m_fullPath; }

    [[nodiscard]] bool IgnoresBlankRows() const noexcept { return m_options.ignoresBlankRows; }

private:
    void OpenForReading();
    void OpenForWriting();
    void RequireReadMode(const char* location) const;
    Row ReadPreviewLine(bool& isBlank);

    std::vector<std::int32_t> m_columnWidths;
    Orvane::BSharedPtr<Orvane::BVectorLayer> m_layer;
    SharingRule m_sharing;
    bool m_usesDiskCache = false;
    std::uint32_t m_diskCachePageSize = 1024;
    Orvane::BString m_diskCacheBaseName;
    QRegularExpression m_separator;
    Orvane::BString m_fileName;
    Orvane::BString m_fullPath;
    std::vector<Orvane::BString> m_sampleLines;
    std::uint32_t m_mode;
    Orvane::BAttributeDefs m_schema;
    Orvane::BParamList m_params;
    ReadOptions m_options; ///< of m_params, which does not change
    Orvane::BString m_firstLine;
    Orvane::BProgress* m_progress = nullptr;
    std::uint32_t m_currentLine = 0;
    HeaderRule m_headerRule;
    std::unique_ptr<QFile> m_device;
    LineSource m_lines;
};

} // namespace AsciiReader
