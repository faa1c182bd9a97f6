// A plug-in that reads survey marks: a whole reader with preview, progress, cancel and failures.
//
// A file of marks (".marks") is text. Its first line is "marks" and a coordinate system such as
// EPSG:25832, its second line the names of five columns; then comes one mark per line: its name,
// X, Y, Z, and its class as a whole number, with blanks in between. Empty lines and lines that
// begin with "#" are skipped.
//
// Read with it: docs/plugin.md.
#include <Orvane/BNumbers.h>
#include <Orvane/BTableReader.h>

#include <array>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace Orvane;

constexpr std::size_t kColumnCount = 5;

class MarksReader : public BTableReader
{
public:
    using BTableReader::BTableReader;

    BParamList GetFilePreview(const BString& query) override
    {
        if (!SupportsQuery(query)) {
            return {};
        }
        RequireOpen("MarksReader::GetFilePreview");
        ReadFields();
        m_fields.resize(kColumnCount);
        return MakePreview(m_names, {m_fields.begin(), m_fields.end()});
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
        BAttributeDef kind;
        kind.SetName(m_names[4]);
        kind.SetType(EVariantType::Int32);
        BAttributeDefs schema;
        schema.Add(kind);
        BVectorLayer& layer = AddLayer("marks", schema); // from here on the reader is open
        if (const std::size_t colon = coordSys.find(u':'); colon != BString::npos) {
            layer.SetCoordSys(MakeShared<BCoordSys>(coordSys.Left(colon), coordSys.Mid(colon + 1)));
        }
    }

    void DoClose() override
    {
        m_file = std::ifstream();
        m_line = 0;
        BTableReader::DoClose();
    }

    void DoRead() override
    {
        BFeatureAppender appender(GetLayer().GetFeatures(), {{m_names[4], EVariantType::Int32}});
        while (WantsRow() && ReadFields() && !IsBeyondLimit()) {
            if (m_fields.size() != kColumnCount) {
                throw Failure("MarksReader::Read", "does not hold the five fields of a mark");
            }
            const double x = ReadNumber(m_fields[1]);
            const double y = ReadNumber(m_fields[2]);
            const double z = ReadNumber(m_fields[3]);
            const std::string name = BString(m_fields[0]).ToUtf8(); // valid whatever the file holds
            appender.AddInt32(BNumbers::Atoi(m_fields[4]));
            appender.EndRow(EPointKind::XYZ, x, y, z, name, ETextEncoding::Utf8);
            CountRow();
        }
        EndRead();
    }

private:
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
};

BReaderProxy<MarksReader> theProxy("DS_MARKS");

} // namespace

ORVANE_PLUGIN_PROXY(theProxy)
