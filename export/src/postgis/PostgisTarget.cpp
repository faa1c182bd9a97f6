// One transaction: the table, its rows by COPY, its keys, indexes and statistics.
#include "PostgisTarget.h"

#include "../FieldNames.h"
#include "../Losses.h"
#include "../RejectedFile.h"
#include "ConnectionText.h"
#include "CopyRows.h"
#include "PostgresConnection.h"
#include "ProgressMeter.h"
#include "Wrap.h"

#include <Orvane/Import/Failure.h>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Orvane::Import {

namespace {

using Postgres::CopyRows;
using Postgres::PostgresCancelled;
using Postgres::PostgresConnection;
using Postgres::PostgresFailure;
using Postgres::QuoteName;

/// Rows that are sent between two looks at the caller's wishes, and about how many bytes.
constexpr std::size_t kRowsPerPiece = 4096;
constexpr std::size_t kPieceBytes = std::size_t{256} * 1024;
/// PostgreSQL's columns of a table, less the row's number and the geometry.
constexpr std::size_t kMostFields = 1598;
/// Bytes of a name; PostgreSQL would cut longer ones.
constexpr std::size_t kLongestName = 63;

constexpr ExportFormat kFormat = {.extension = "",
                                  .driver = "PostgreSQL",
                                  .write = nullptr,
                                  .mostFields = kMostFields,
                                  .namesLayer = true,
                                  .holdsNaN = true,
                                  .holdsInfinity = true,
                                  .holdsDates = true,
                                  .holdsDateTimes = true};

FailureFields MakeFields(const std::string& shown, const char* code, std::string what)
{
    FailureFields fields;
    fields.kind = EFailureKind::Output;
    fields.code = code;
    fields.what = std::move(what);
    fields.file = shown;
    return fields;
}

[[noreturn]] void Throw(const std::string& shown,
                        const char* code,
                        std::string what,
                        std::string cause = {},
                        std::string advice = {})
{
    FailureFields fields = MakeFields(shown, code, std::move(what));
    fields.cause = std::move(cause);
    fields.advice = std::move(advice);
    throw ImportFailure(std::move(fields));
}

std::string Sentence(std::string text)
{
    const bool isOpen = !text.empty() && text.back() != '.' && text.back() != '?';
    return isOpen ? text + "." : text;
}

/// Cuts a name to what PostgreSQL keeps, at a character.
std::string CutName(std::string name)
{
    if (name.size() > kLongestName) {
        std::size_t size = kLongestName;
        while (size > 0 && (static_cast<unsigned char>(name[size]) & 0xC0U) == 0x80U) {
            --size;
        }
        name.resize(size);
    }
    return name;
}

struct TableName
{
    std::string schema; ///< empty: the first of the connection's search path
    std::string table;

    [[nodiscard]] std::string Quoted() const
    {
        return (schema.empty() ? "" : QuoteName(schema) + ".") + QuoteName(table);
    }
};

/// Who is told of the progress, as long as there is somebody.
class ProgressScope
{
public:
    ProgressScope(ProgressMeter*& place, ProgressMeter& meter)
        : m_place(place)
    {
        m_place = &meter;
    }

    ~ProgressScope() { m_place = nullptr; }

    ProgressScope(const ProgressScope&) = delete;
    ProgressScope& operator=(const ProgressScope&) = delete;

private:
    ProgressMeter*& m_place;
};

class PostgisTarget : public Target
{
public:
    explicit PostgisTarget(const TargetRequest& request)
        : m_request(request)
        , m_name(Postgres::ShowConnection(request.out))
        , m_connection(Postgres::ToConnectionInfo(request.out), [this] { return IsCancelled(); })
    {
        Run("BEGIN");
        if (!request.layer.empty()) {
            const std::size_t dot = request.layer.find('.');
            m_table = dot == std::string::npos
                          ? TableName{{}, request.layer}
                          : TableName{request.layer.substr(0, dot), request.layer.substr(dot + 1)};
            CutTableName();
            RequireRoom();
        }
    }

    ~PostgisTarget() override = default;

    [[nodiscard]] const std::string& GetName() const noexcept override { return m_name; }

    [[nodiscard]] const std::string& GetFormat() const noexcept override { return m_format; }

    [[nodiscard]] WriteReport WritePages(const BVectorLayer& layer,
                                         const LayerCounts& counts,
                                         PageSource& pages,
                                         const Callbacks& callbacks) override
    {
        ProgressMeter progress(callbacks, EPhase::Writing, counts.rows);
        const ProgressScope scope(m_progress, progress);
        try {
            return WrapFailures(m_name, [&] { return WriteLayer(layer, counts, pages); });
        } catch (...) {
            progress.RethrowIfThrown();
            throw;
        }
    }

    /// Beside the file that is read: a database has no place for files.
    [[nodiscard]] SideFile AddSideFile(const std::string& ending) override
    {
        return m_rejected.Add(m_request.input + ending, m_request.input);
    }

    std::string AddTable(const BVectorLayer& /*table*/) override { return {}; }

    void Commit() override
    {
        // The step that may fail for most reasons is between those that hardly can.
        m_rejected.Prepare();
        WrapFailures(m_name, [&] {
            try {
                m_connection.Run("COMMIT");
            } catch (const PostgresFailure& failure) {
                // Rule: what nobody knows is not told as a failure that left nothing.
                Throw(m_name,
                      "output-write",
                      m_connection.IsLost() ? "The connection was lost while the rows were "
                                              "committed; they may be in the database."
                                            : "The database refuses.",
                      Sentence(failure.what()),
                      m_connection.IsLost() ? "Look into the table " + m_table.Quoted() + "." : "");
            }
        });
        m_rejected.Commit();
    }

    [[nodiscard]] TargetCounts CountWritten(const Callbacks& callbacks) override
    {
        ProgressMeter progress(callbacks, EPhase::Written, m_rowsSent);
        const ProgressScope scope(m_progress, progress);
        m_isWritten = true;
        const TargetCounts now = WrapFailures(m_name, [&] { return Count(); });
        return {now.rows - m_before.rows, now.points - m_before.points};
    }

private:
    /// Asked while the server works: the caller hears that it does, and may cancel.
    [[nodiscard]] bool IsCancelled() const
    {
        const bool goesOn = m_progress == nullptr || m_progress->Report(m_rowsSent);
        // Rule: a cancel that comes when the output is in its place comes too late.
        return !goesOn && !m_isWritten;
    }

    /// Runs an action on the connection, and words its failures.
    template <typename Action>
    auto Guard(const Action& action) -> decltype(action())
    {
        try {
            return action();
        } catch (const PostgresFailure& failure) {
            Throw(m_name, "output-write", "The database refuses.", Sentence(failure.what()));
        } catch (const PostgresCancelled&) {
            ThrowCancelled();
        }
    }

    void Run(const std::string& sql)
    {
        Guard([&] { m_connection.Run(sql); });
    }

    std::string RunForText(const std::string& sql, const std::vector<std::string>& parameters = {})
    {
        return Guard([&] { return m_connection.RunForText(sql, parameters); });
    }

    [[nodiscard]] bool Exists()
    {
        return !RunForText("SELECT to_regclass($1)", {m_table.Quoted()}).empty();
    }

    void RequireRoom()
    {
        m_exists = Exists();
        if (m_exists && m_request.existing == EExistingLayer::Refuse) {
            Throw(m_name,
                  "layer-exists",
                  "There is a table " + m_table.Quoted() + " already.",
                  {},
                  "Name another one, append to it, or have it replaced.");
        }
    }

    [[nodiscard]] std::int32_t FindSrid()
    {
        if (m_request.crs.empty()) {
            return 0;
        }
        const std::size_t colon = m_request.crs.find(':');
        const std::string srid =
            RunForText("SELECT srid FROM spatial_ref_sys WHERE upper(auth_name) = upper($1) AND "
                       "auth_srid::text = $2",
                       {m_request.crs.substr(0, colon), m_request.crs.substr(colon + 1)});
        if (srid.empty()) {
            Throw(m_name,
                  "output-write",
                  "The database has no coordinate system " + m_request.crs + ".",
                  "Its table spatial_ref_sys lacks it.",
                  "Add it there, or choose another one.");
        }
        return static_cast<std::int32_t>(std::stol(srid));
    }

    void RequirePostgis()
    {
        if (RunForText("SELECT to_regtype('geometry')").empty()) {
            Throw(m_name,
                  "output-write",
                  "The database has no type for geometries.",
                  "PostGIS is not installed in it.",
                  "Run CREATE EXTENSION postgis in it as its owner.");
        }
    }

    void CreateTable(const FileFields& names)
    {
        if (m_exists) {
            Run("DROP TABLE " + m_table.Quoted());
        }
        std::string sql = "CREATE TABLE " + m_table.Quoted() + " (" + QuoteName(m_rowNumberName) +
                          " bigint NOT NULL";
        if (m_layout.hasGeometry) {
            sql += ", " + QuoteName(m_geometryName) + " geometry(" +
                   (m_layout.hasHeights ? "PointZ" : "Point") + ", " +
                   std::to_string(m_layout.srid) + ")";
        }
        for (std::size_t index = 0; index < names.fields.size(); ++index) {
            sql +=
                ", " + QuoteName(names.fields[index].name) + " " + NameOf(m_layout.fields[index]);
        }
        Run(sql + ")");
    }

    /// The columns that are appended to must be there, and of the types that the rows need.
    void RequireColumns(const FileFields& names)
    {
        const auto columns = Guard([&] {
            return m_connection.Run(
                "SELECT attname, format_type(atttypid, NULL), format_type(atttypid, atttypmod) "
                "FROM pg_attribute WHERE attrelid = to_regclass($1) AND attnum > 0 AND NOT "
                "attisdropped",
                {m_table.Quoted()});
        });
        const auto find =
            [&](const std::string& name) -> const std::vector<std::optional<std::string>>* {
            for (const auto& column : columns) {
                if (column[0] == name) {
                    return &column;
                }
            }
            return nullptr;
        };
        const auto refuse = [&](const std::string& cause) {
            Throw(m_name,
                  "layer-schema",
                  "The rows do not fit the table " + m_table.Quoted() + ".",
                  cause,
                  "Choose the same types as when it was made, or another table.");
        };
        for (std::size_t index = 0; index < names.fields.size(); ++index) {
            const std::string& name = names.fields[index].name;
            const std::string wanted = NameOf(m_layout.fields[index]);
            const auto* const column = find(name);
            if (column == nullptr) {
                refuse("It has no column '" + name + "'.");
            } else if ((*column)[1] != wanted) {
                std::string cause = "Its column '" + name + "' is of type ";
                cause += (*column)[1].value_or("");
                cause += ", the file's is " + wanted;
                cause += '.';
                refuse(cause);
            }
        }
        if (!m_layout.hasGeometry) {
            return;
        }
        const std::string wanted =
            std::string("geometry(Point") + (m_layout.hasHeights ? "Z" : "") +
            (m_layout.srid != 0 ? "," + std::to_string(m_layout.srid) : "") + ")";
        bool isThere = false;
        for (const auto& column : columns) {
            if (column[1] == "geometry" && !isThere) {
                isThere = true;
                m_geometryName = column[0].value_or("");
                if (column[2] != wanted && column[2] != "geometry") {
                    refuse("Its geometries are " + column[2].value_or("") + ", the file's are " +
                           wanted + ".");
                }
            }
        }
        if (!isThere) {
            refuse("It has no column of geometries.");
        }
    }

    [[nodiscard]] std::string MakeCopy(const FileFields& names) const
    {
        std::string columns;
        const auto add = [&](const std::string& name) {
            columns += (columns.empty() ? "" : ", ") + QuoteName(name);
        };
        if (m_layout.hasRowNumber) {
            add(m_rowNumberName);
        }
        if (m_layout.hasGeometry) {
            add(m_geometryName);
        }
        for (const FileField& field : names.fields) {
            add(field.name);
        }
        return "COPY " + m_table.Quoted() + " (" + columns + ") FROM STDIN (FORMAT binary)";
    }

    /// @param page the first one, null when there is none
    void CopyLayer(SourcePage page, PageSource& pages, CopyRows& rows)
    {
        rows.AppendHeader();
        const auto send = [&] {
            m_connection.PutCopy(rows.GetBytes());
            rows.Clear();
            m_rowsSent = rows.GetCounts().rows;
            if (IsCancelled()) {
                throw PostgresCancelled();
            }
        };
        for (bool isThere = page.page != nullptr; isThere; isThere = pages.Next(page)) {
            const std::size_t count = page.page->GetRowCount();
            for (std::size_t begin = 0; begin < count; begin += kRowsPerPiece) {
                rows.AppendRows(*page.page,
                                page.features,
                                page.firstRow,
                                begin,
                                std::min(count, begin + kRowsPerPiece));
                if (rows.GetBytes().size() >= kPieceBytes) {
                    send();
                }
            }
        }
        rows.AppendTrailer();
        send();
    }

    /// Keys and indexes after the rows: that costs less than with them.
    void Finish(const Postgres::CopyCounts& counts)
    {
        if (m_layout.hasRowNumber) {
            const std::string column = QuoteName(m_rowNumberName);
            const std::string alter = "ALTER TABLE " + m_table.Quoted();
            Run(alter + " ADD PRIMARY KEY (" + column + ")");
            Run(alter + " ALTER COLUMN " + column +
                " ADD GENERATED BY DEFAULT AS IDENTITY (START WITH " +
                std::to_string(counts.rows + 1) + ")");
            if (m_layout.hasGeometry) {
                m_rowsSent = 0; // how many are in the index the server does not tell
                if (!m_progress->BeginPhase(EPhase::Indexing, counts.points)) {
                    ThrowCancelled();
                }
                Run("CREATE INDEX ON " + m_table.Quoted() + " USING gist (" +
                    QuoteName(m_geometryName) + ")");
            }
        }
        Run("ANALYZE " + m_table.Quoted());
    }

    [[nodiscard]] TargetCounts Count()
    {
        const std::string points =
            m_layout.hasGeometry ? "count(" + QuoteName(m_geometryName) + ")" : "0";
        const auto rows = Guard([&] {
            return m_connection.Run("SELECT count(*), " + points + " FROM " + m_table.Quoted());
        });
        return {std::stoull(rows.at(0).at(0).value_or("0")),
                std::stoull(rows.at(0).at(1).value_or("0"))};
    }

    WriteReport WriteLayer(const BVectorLayer& layer, const LayerCounts& counts, PageSource& pages)
    {
        FileFields names = NameFields(layer, counts, kFormat);
        CutNames(names);
        if (names.fields.size() > kMostFields) {
            Throw(m_name,
                  "too-many-columns",
                  "The output cannot be written.",
                  "A table holds at most " + std::to_string(kMostFields) +
                      " columns, and there are " + std::to_string(names.fields.size()) + ".");
        }
        if (m_table.table.empty()) {
            const std::string name = layer.GetName().ToUtf8();
            m_table.table = name.empty() ? "layer" : name;
            CutTableName();
            RequireRoom();
        }
        names.notes.insert(names.notes.begin(), m_notes.begin(), m_notes.end());
        std::vector<EVariantType> types;
        for (const FileField& field : names.fields) {
            types.push_back(field.type);
        }
        m_layout.hasGeometry = m_request.hasGeometry;
        m_layout.hasHeights = counts.withHeight > 0;
        SourcePage first;
        static_cast<void>(pages.Next(first));
        m_layout.fields = Postgres::ChooseTypes(first.page.get(), types);
        if (m_layout.hasGeometry) {
            RequirePostgis();
            m_layout.srid = FindSrid();
        }
        const bool isAppended = m_exists && m_request.existing == EExistingLayer::Append;
        m_layout.hasRowNumber = !isAppended;
        m_rowNumberName = FindFreeName(names.fields, "fid");
        m_geometryName = FindFreeName(names.fields, "geom");
        if (isAppended) {
            RequireColumns(names);
            m_before = Count();
        } else {
            CreateTable(names);
        }
        CopyRows rows(m_layout);
        const auto copy = [&] {
            m_connection.BeginCopy(MakeCopy(names));
            CopyLayer(first, pages, rows);
            m_connection.EndCopy();
        };
        try {
            Guard(copy);
        } catch (const Postgres::DateMismatch& mismatch) {
            Throw(m_name,
                  "output-write",
                  "The database would change '" + mismatch.GetText() + "' in column '" +
                      names.fields[mismatch.GetFieldIndex()].name + "'.",
                  "The first values of the column are of another kind.",
                  "Import the column as text.");
        }
        Finish(rows.GetCounts());
        return MakeReport(rows.GetCounts(), names);
    }

    /// Rule: a name that PostgreSQL would cut is cut here, and said.
    void CutTableName()
    {
        std::string cut = CutName(m_table.table);
        if (cut != m_table.table) {
            m_notes.push_back(
                {"layer-name",
                 "the table '" + m_table.table + "' is named '" + cut + "' in the database"});
            m_table.table = std::move(cut);
        }
    }

    /// Names that PostgreSQL would cut are cut here, so that they stay different.
    static void CutNames(FileFields& names)
    {
        for (std::size_t index = 0; index < names.fields.size(); ++index) {
            std::string& name = names.fields[index].name;
            if (name.size() <= kLongestName) {
                continue;
            }
            std::string cut = CutName(name);
            const auto isTaken = [&](const std::string& candidate) {
                return std::any_of(
                    names.fields.begin(), names.fields.end(), [&](const FileField& field) {
                        return &field.name != &name && field.name == candidate;
                    });
            };
            for (int number = 2; isTaken(cut); ++number) {
                const std::string ending = "_" + std::to_string(number);
                cut = CutName(name.substr(0, kLongestName - ending.size()));
                cut += ending;
            }
            std::string note = "the column '";
            note.append(name).append("' is named '").append(cut).append("' in the table");
            names.notes.push_back({"field-name", std::move(note)});
            name = cut;
        }
    }

    static WriteReport MakeReport(const Postgres::CopyCounts& counts, const FileFields& names)
    {
        WriteReport report;
        report.rows = counts.rows;
        report.points = counts.points;
        report.notes = names.notes;
        LossCounts losses;
        losses.notOfType.assign(counts.notOfTypeByField.begin(), counts.notOfTypeByField.end());
        losses.withNul = counts.nulCharacters;
        losses.withoutPlace = counts.withoutPlace;
        ReportLosses(losses, names.fields, report);
        return report;
    }

    TargetRequest m_request;
    std::string m_name; ///< as it may be shown
    std::string m_format = "PostgreSQL";
    std::vector<Note> m_notes; ///< of the table's name
    ProgressMeter* m_progress = nullptr;
    PostgresConnection m_connection;
    TableName m_table;
    bool m_exists = false;
    Postgres::CopyLayout m_layout;
    std::string m_rowNumberName;
    std::string m_geometryName;
    TargetCounts m_before; ///< in the table that is appended to
    std::uint64_t m_rowsSent = 0;
    bool m_isWritten = false;
    RejectedFile m_rejected;
};

} // namespace

std::unique_ptr<Target> OpenPostgisTarget(const TargetRequest& request)
{
    const std::string shown = Postgres::ShowConnection(request.out);
    return WrapFailures(shown, [&]() -> std::unique_ptr<Target> {
        try {
            return std::make_unique<PostgisTarget>(request);
        } catch (const PostgresFailure& failure) {
            Throw(shown,
                  "database",
                  "The database cannot be reached.",
                  Sentence(failure.what()),
                  "Check its host, port, name, user and password.");
        }
    });
}

} // namespace Orvane::Import
