// Counts from written files, each format its own way.
#include "CountWritten.h"

#include "GdalScope.h"

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <sqlite3.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace Orvane::Import {

namespace {

/// Gives a file's bytes one after the other.
class ByteReader
{
public:
    explicit ByteReader(const std::filesystem::path& file)
        : m_file(std::fopen(file.c_str(), "rb"))
        , m_buffer(kBufferBytes)
    {
        if (!m_file) {
            throw std::runtime_error(std::generic_category().message(errno));
        }
    }

    /// The next byte, or kEnd.
    int Next()
    {
        if (m_next == m_end && !Fill()) {
            return kEnd;
        }
        return static_cast<unsigned char>(m_buffer[m_next++]);
    }

    static constexpr int kEnd = -1;

private:
    bool Fill()
    {
        m_next = 0;
        m_end = std::fread(m_buffer.data(), 1, m_buffer.size(), m_file.get());
        if (m_end == 0 && std::ferror(m_file.get()) != 0) {
            throw std::runtime_error(std::generic_category().message(errno));
        }
        return m_end > 0;
    }

    struct Closer
    {
        void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
    };

    static constexpr std::size_t kBufferBytes = std::size_t{256} << 10;
    std::unique_ptr<std::FILE, Closer> m_file;
    std::vector<char> m_buffer;
    std::size_t m_next = 0;
    std::size_t m_end = 0;
};

/// Counts the records of a CSV file; a point is a record whose X and Y both have a text.
class CsvCounter
{
public:
    explicit CsvCounter(const WrittenShape& shape)
        : m_shape(shape)
        , m_isNames(shape.hasNames)
    {}

    TargetCounts Run(ByteReader&& bytes)
    {
        bool isQuoted = false;
        for (int byte = bytes.Next(); byte != ByteReader::kEnd; byte = bytes.Next()) {
            m_isInRecord = true;
            if (byte == '"') {
                isQuoted = !isQuoted;
            } else if (isQuoted) {
                m_hasText = true;
            } else if (byte == ',') {
                EndField();
            } else if (byte == '\n') {
                EndRecord();
            } else if (byte != '\r') {
                m_hasText = true;
            }
        }
        if (isQuoted || m_isInRecord) {
            throw std::runtime_error("The last record is cut short.");
        }
        return m_counts;
    }

private:
    void EndField()
    {
        m_texts += m_hasText && (m_field == m_shape.fieldCount || m_field == m_shape.fieldCount + 1)
                       ? 1U
                       : 0U;
        m_hasText = false;
        ++m_field;
    }

    void EndRecord()
    {
        EndField();
        if (!m_isNames) {
            ++m_counts.rows;
            m_counts.points += m_shape.hasGeometry && m_texts == 2 ? 1U : 0U;
        }
        m_isNames = false;
        m_isInRecord = false;
        m_field = 0;
        m_texts = 0;
    }

    const WrittenShape& m_shape;
    bool m_isNames;
    bool m_isInRecord = false;
    bool m_hasText = false;
    std::size_t m_field = 0;
    std::size_t m_texts = 0; ///< of X and Y
    TargetCounts m_counts;
};

/// Counts the features of GeoJSON texts; a point is a feature whose member "geometry" is not null.
class JsonCounter
{
public:
    /// @param isSequence features stand for themselves; else in the array "features" of an object
    explicit JsonCounter(bool isSequence)
        : m_featureDepth(isSequence ? 1 : 3)
    {}

    TargetCounts Run(ByteReader&& bytes)
    {
        for (int byte = bytes.Next(); byte != ByteReader::kEnd; byte = bytes.Next()) {
            switch (byte) {
            case '"':
                ReadText(bytes);
                break;
            case '{':
            case '[':
                NoteValue(byte);
                Open(byte);
                break;
            case '}':
            case ']':
                Close(byte);
                break;
            case ':':
                m_isKey = false;
                break;
            case ',':
                m_isKey = m_depth > 0 && m_open[std::min(m_depth, kDepths) - 1] == '{';
                break;
            default:
                if (byte == 'n') {
                    NoteValue(byte);
                }
            }
        }
        if (m_depth != 0) {
            throw std::runtime_error("The last feature is cut short.");
        }
        return m_counts;
    }

private:
    void ReadText(ByteReader& bytes)
    {
        m_text.clear();
        for (int byte = bytes.Next(); byte != '"'; byte = bytes.Next()) {
            if (byte == '\\') {
                byte = bytes.Next();
            }
            if (byte == ByteReader::kEnd) {
                throw std::runtime_error("The last text is cut short.");
            }
            if (m_isKey && m_text.size() < kKeyBytes) {
                m_text += static_cast<char>(byte);
            }
        }
        if (m_isKey && m_depth == m_featureDepth) {
            m_isGeometry = m_text == "geometry";
        } else if (m_isKey && m_depth == 1) {
            m_isFeatures = m_text == "features";
        }
    }

    /// A value begins; of the member "geometry" it says whether there is one.
    void NoteValue(int byte)
    {
        if (m_isGeometry && m_depth == m_featureDepth && !m_isKey && m_isInFeature) {
            m_counts.points += byte == '{' ? 1U : 0U;
            m_isGeometry = false;
        }
    }

    void Open(int byte)
    {
        if (m_depth < kDepths) {
            m_open[m_depth] = static_cast<char>(byte);
        }
        ++m_depth;
        m_isKey = byte == '{';
        if (m_depth == m_featureDepth && byte == '{' && (m_featureDepth == 1 || m_isFeatures)) {
            m_isInFeature = true;
            m_isGeometry = false;
            ++m_counts.rows;
        }
    }

    void Close(int byte)
    {
        const char open = byte == '}' ? '{' : '[';
        if (m_depth == 0 || (m_depth <= kDepths && m_open[m_depth - 1] != open)) {
            throw std::runtime_error("The brackets do not match.");
        }
        if (m_depth == m_featureDepth) {
            m_isInFeature = false;
        }
        --m_depth;
    }

    static constexpr std::size_t kDepths = 16; ///< deeper brackets are counted, not compared
    static constexpr std::size_t kKeyBytes = 16;

    std::size_t m_featureDepth;
    std::size_t m_depth = 0;
    std::array<char, kDepths> m_open{};
    bool m_isKey = false; ///< the next text is a member's name
    bool m_isFeatures = false;
    bool m_isInFeature = false;
    bool m_isGeometry = false;
    std::string m_text;
    TargetCounts m_counts;
};

/// A GeoPackage, opened for reading by SQLite alone.
class SqlCounter
{
public:
    explicit SqlCounter(const std::filesystem::path& file)
    {
        sqlite3* database = nullptr;
        const int code = sqlite3_open_v2(
            file.c_str(), &database, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr);
        m_database.reset(database);
        Check(code);
    }

    TargetCounts Run(const std::string& furtherTable)
    {
        std::vector<std::pair<std::string, std::string>> tables;
        const Statement list = Prepare(
            "SELECT table_name, column_name FROM gpkg_contents LEFT JOIN gpkg_geometry_columns "
            "USING(table_name) WHERE data_type IN ('features', 'attributes')");
        while (Step(list)) {
            if (TextOf(list, 0) != furtherTable) {
                tables.emplace_back(TextOf(list, 0), TextOf(list, 1));
            }
        }
        TargetCounts counts;
        for (const auto& [table, geometry] : tables) {
            const std::string points = geometry.empty() ? "0" : "count(" + Quote(geometry) + ")";
            const Statement count = Prepare("SELECT count(*), " + points + " FROM " + Quote(table));
            if (Step(count)) {
                counts.rows += static_cast<std::uint64_t>(sqlite3_column_int64(count.get(), 0));
                counts.points += static_cast<std::uint64_t>(sqlite3_column_int64(count.get(), 1));
            }
        }
        return counts;
    }

private:
    struct Finalizer
    {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };

    struct Closer
    {
        void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
    };

    using Statement = std::unique_ptr<sqlite3_stmt, Finalizer>;

    void Check(int code) const
    {
        if (code == SQLITE_NOMEM) {
            throw std::bad_alloc();
        }
        if (code != SQLITE_OK) {
            throw std::runtime_error(sqlite3_errmsg(m_database.get()));
        }
    }

    [[nodiscard]] Statement Prepare(const std::string& sql) const
    {
        sqlite3_stmt* statement = nullptr;
        Check(sqlite3_prepare_v2(m_database.get(), sql.c_str(), -1, &statement, nullptr));
        return Statement(statement);
    }

    [[nodiscard]] bool Step(const Statement& statement) const
    {
        const int code = sqlite3_step(statement.get());
        if (code != SQLITE_ROW && code != SQLITE_DONE) {
            Check(code);
        }
        return code == SQLITE_ROW;
    }

    static std::string TextOf(const Statement& statement, int column)
    {
        const void* text = sqlite3_column_blob(statement.get(), column);
        const int size = sqlite3_column_bytes(statement.get(), column);
        return text == nullptr
                   ? std::string()
                   : std::string(static_cast<const char*>(text), static_cast<std::size_t>(size));
    }

    static std::string Quote(const std::string& name)
    {
        std::string quoted = "\"";
        for (const char byte : name) {
            quoted.append(byte == '"' ? 2 : 1, byte);
        }
        return quoted + '"';
    }

    std::unique_ptr<sqlite3, Closer> m_database;
};

/// Other formats, by their GDAL driver: feature by feature, since a file's own count is the
/// writer's word.
TargetCounts CountByGdal(const std::filesystem::path& file, const ExportFormat& format)
{
    RegisterDrivers();
    const GdalMessages messages;
    const std::array<const char*, 2> drivers = {format.driver, nullptr};
    const std::unique_ptr<GDALDataset> dataset(GDALDataset::Open(
        file.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY, drivers.data(), nullptr, nullptr));
    TargetCounts counts;
    if (dataset) {
        for (OGRLayer* layer : dataset->GetLayers()) {
            OGRFeatureDefn& definition = *layer->GetLayerDefn();
            std::vector<const char*> ignored;
            ignored.reserve(static_cast<std::size_t>(definition.GetFieldCount()) + 1);
            for (int index = 0; index < definition.GetFieldCount(); ++index) {
                ignored.push_back(definition.GetFieldDefn(index)->GetNameRef());
            }
            ignored.push_back(nullptr);
            static_cast<void>(layer->SetIgnoredFields(ignored.data()));
            for (const auto& feature : *layer) {
                ++counts.rows;
                const OGRGeometry* geometry = feature->GetGeometryRef();
                counts.points += geometry != nullptr && geometry->IsEmpty() == 0 ? 1U : 0U;
            }
        }
    }
    if (!dataset || messages.HasError()) {
        throw std::runtime_error(messages.GetError());
    }
    return counts;
}

} // namespace

TargetCounts
CountFile(const std::filesystem::path& file, const ExportFormat& format, const WrittenShape& shape)
{
    const std::string_view driver = format.driver;
    if (driver == "GPKG") {
        return SqlCounter(file).Run(shape.furtherTable);
    }
    if (driver == "CSV") {
        return CsvCounter(shape).Run(ByteReader(file));
    }
    if (driver == "GeoJSON" || driver == "GeoJSONSeq") {
        return JsonCounter(driver == "GeoJSONSeq").Run(ByteReader(file));
    }
    return CountByGdal(file, format);
}

} // namespace Orvane::Import
