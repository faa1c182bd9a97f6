// A plug-in that reads survey marks: a whole reader with preview, progress, cancel and failures.
//
// A file of marks (".marks") is text. Its first line is "marks" and a coordinate system such as
// EPSG:25832, its second line the names of five columns; then comes one mark per line: its name,
// X, Y, Z, and its class as a whole number, with blanks in between. Empty lines and lines that
// begin with "#" are skipped.
//
// Read with it: docs/plugin.md.
#include <Orvane/BDataManagerProxy.h>
#include <Orvane/BException.h>
#include <Orvane/BFeatureAppender.h>
#include <Orvane/BNumbers.h>
#include <Orvane/BVectorDataReader.h>
#include <Orvane/Constants.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace Orvane;

constexpr std::size_t kColumnCount = 5;

class MarksReader : public BVectorDataReader
{
public:
    using BVectorDataReader::BVectorDataReader;

    ~MarksReader() override { MarksReader::DoClose(); }

    bool IsOpen() override { return m_layer != nullptr; }

    bool SupportsQuery(const BString& query) override { return query == QUERY_COLUMNS; }

    BParamList GetFilePreview(const BString& query) override
    {
        BParamList answer;
        if (!SupportsQuery(query)) {
            return answer;
        }
        if (!IsOpen()) {
            throw BDataManagerException("MarksReader::GetFilePreview", "The reader is not open.");
        }
        ReadFields();
        m_fields.resize(kColumnCount);
        for (std::size_t index = 0; index < kColumnCount; ++index) {
            answer.Add(BString::FromInteger(static_cast<std::int64_t>(index)),
                       std::vector<BString>{m_names[index], m_fields[index]});
        }
        answer.Add(FIRST_LINE_COLUMN_NAMES, "1");
        answer.Add(NUM_COLUMNS, static_cast<std::int32_t>(kColumnCount));
        return answer;
    }

protected:
    void DoOpen(const BString& path, const BParamList& params) override
    {
        DoClose();
        const BString file = TestFileCapabilities(path, params);
        m_file.open(file.ToUtf8());
        if (!m_file) {
            throw BFileNotFoundException("MarksReader::Open", file);
        }
        if (!ReadFields() || m_fields.size() != 2 || m_fields[0] != "marks") {
            throw Failure("MarksReader::Open", "is not the first line of a file of marks");
        }
        const BString coordSys = m_fields[1];
        if (!ReadFields() || m_fields.size() != kColumnCount) {
            throw Failure("MarksReader::Open", "does not name five columns");
        }
        m_names.assign(m_fields.begin(), m_fields.end());
        AddLayer(coordSys);
    }

    void DoClose() override
    {
        m_file = std::ifstream();
        m_line = 0;
        m_layer = nullptr;
    }

    void DoRead() override
    {
        BFeatureAppender appender(m_layer->GetFeatures(), {{m_names[4], EVariantType::Int32}});
        const std::int32_t limit = GetParams().GetInteger(MAX_RECORDS);
        unsigned rows = 0;
        bool goesOn = true;
        while (goesOn && ReadFields()) {
            if (limit > 0 && rows == static_cast<unsigned>(limit)) {
                SetFailureFlag(1);
                break;
            }
            if (m_fields.size() != kColumnCount) {
                throw Failure("MarksReader::Read", "does not hold the five fields of a mark");
            }
            const double x = ReadNumber(m_fields[1]);
            const double y = ReadNumber(m_fields[2]);
            const double z = ReadNumber(m_fields[3]);
            const std::string name = BString(m_fields[0]).ToUtf8(); // valid whatever the file holds
            appender.AddInt32(BNumbers::Atoi(m_fields[4]));
            appender.EndRow(EPointKind::XYZ, x, y, z, name, ETextEncoding::Utf8);
            goesOn = ReportProgress(++rows, 0);
        }
        // The last report says how many rows there are; the host may cancel even then.
        goesOn = (GetProgress() == nullptr || GetProgress()->Report(rows, 0)) && goesOn;
        SetStatus(goesOn ? EManagerStatus::kDone : EManagerStatus::kCancelled);
    }

private:
    void AddLayer(const BString& coordSys)
    {
        BAttributeDef kind;
        kind.SetName(m_names[4]);
        kind.SetType(EVariantType::Int32);
        BAttributeDefs schema;
        schema.Add(kind);
        const auto layer = UsingDiskCache() ? MakeShared<BVectorLayer>(GetDiskCacheBaseName(),
                                                                       GetDiskCachePageSize())
                                            : MakeShared<BVectorLayer>();
        layer->SetName("marks");
        layer->SetSchema(schema);
        const std::size_t colon = coordSys.find(u':');
        if (colon != BString::npos) {
            layer->SetCoordSys(
                MakeShared<BCoordSys>(coordSys.Left(colon), coordSys.Mid(colon + 1)));
        }
        GetLayers().Add(layer);
        m_layer = layer; // from here on the reader is open
    }

    /// Splits the next line that says something into m_fields. @return false at the end
    bool ReadFields()
    {
        m_fields.clear();
        std::array<char, 1024> line{};
        while (m_fields.empty() || m_fields[0][0] == '#') {
            ++m_line;
            if (!m_file.getline(line.data(), line.size())) {
                if (m_file.eof()) {
                    return false;
                }
                throw Failure("MarksReader::Read", "is longer than 1023 bytes");
            }
            std::istringstream words(line.data());
            m_fields.assign(std::istream_iterator<std::string>(words), {});
        }
        return true;
    }

    [[nodiscard]] double ReadNumber(const std::string& field) const
    {
        std::size_t consumed = 0;
        const double value = BNumbers::Strtod(field, &consumed);
        if (consumed == 0 || consumed != field.size()) {
            throw Failure("MarksReader::Read", "holds a coordinate that is no number");
        }
        return value;
    }

    [[nodiscard]] BFileContentNotValidException Failure(const char* location,
                                                        const char* what) const
    {
        return {location, BString::Format("Line %d %s.", m_line, what)};
    }

    std::ifstream m_file;
    int m_line = 0; ///< number of the line read last, from 1
    std::vector<std::string> m_fields;
    std::vector<BString> m_names;
    BSharedPtr<BVectorLayer> m_layer;
};

class MarksProxy : public BDataManagerProxy
{
public:
    bool CanRead(const BString& dataSourceType) override { return dataSourceType == "DS_MARKS"; }

    bool CanRead(const BString& dataSourceType, const BParamList& /*params*/) override
    {
        return CanRead(dataSourceType);
    }

    BDataReader* CreateReader(const BString& path,
                              const BParamList& params,
                              BCoordSysRepository* coordSysRepository,
                              BLogger* logger) override
    {
        auto reader = std::make_unique<MarksReader>(path, params);
        reader->SetManagerFlags(EManagerFlag::kReads | EManagerFlag::kVectorData);
        Initialize(reader.get(), coordSysRepository, logger);
        return reader.release();
    }
};

MarksProxy theProxy;

} // namespace

extern "C" ORVANE_PLUGIN_EXPORT BDataManagerProxy* GetDataMgrProxy();

extern "C" ORVANE_PLUGIN_EXPORT BDataManagerProxy* GetDataMgrProxy()
{
    return &theProxy;
}
