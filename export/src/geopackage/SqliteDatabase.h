// A connection to an SQLite database and its statements, as objects.
#pragma once

#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <sqlite3.h>
#include <string>
#include <string_view>

namespace Orvane::GeoPackage {

/// A connection to a database file that one thread uses alone.
///
/// Nothing of SQLite's settings for the whole process is changed: the connection itself is opened
/// without a lock of its own (SQLITE_OPEN_NOMUTEX).
class SqliteDatabase
{
public:
    enum class EFile {
        New,     ///< is made; must not exist
        Existing ///< is there
    };

    /// Called between steps of some ms; throws to stop.
    using Step = std::function<void()>;

    /// Opens the file. @param file absolute
    /// @throws WriteFailure, std::bad_alloc; no new file is left then.
    SqliteDatabase(const std::filesystem::path& file, EFile kind);
    /// Closes; what was not committed is not a database.
    ~SqliteDatabase();
    SqliteDatabase(const SqliteDatabase&) = delete;
    SqliteDatabase& operator=(const SqliteDatabase&) = delete;

    [[nodiscard]] sqlite3* GetHandle() const noexcept { return m_handle; }

    /// Runs statements without results. @param sql UTF-8, one or more statements
    /// @throws as Check.
    void Execute(const std::string& sql);

    /// Has `step` called while statements run that need long; null ends it. What `step` throws
    /// leaves the statement's Check.
    /// @param step must stay until it is replaced; or null
    void SetStep(const Step* step);

    /// @param code SQLite's result of the connection's last call
    /// @throws std::bad_alloc for SQLITE_NOMEM; WriteFailure with SQLite's words and the system's
    ///     for any other code but SQLITE_OK, SQLITE_ROW and SQLITE_DONE.
    void Check(int code) const;

    /// Closes after the last statement, and says whether that worked. Once.
    /// @throws as Check.
    void Close();

private:
    static int OnStep(void* self) noexcept;

    sqlite3* m_handle = nullptr;
    const Step* m_step = nullptr; ///< not owned
    mutable std::exception_ptr m_stepFailure;
};

/// Has a step called during long statements as long as it lives.
class StepScope
{
public:
    StepScope(SqliteDatabase& database, const SqliteDatabase::Step& step)
        : m_database(database)
    {
        database.SetStep(&step);
    }

    ~StepScope() { m_database.SetStep(nullptr); }

    StepScope(const StepScope&) = delete;
    StepScope& operator=(const StepScope&) = delete;

private:
    SqliteDatabase& m_database;
};

/// A prepared statement; ends before its database.
class SqliteStatement
{
public:
    /// @throws as SqliteDatabase::Check.
    SqliteStatement(SqliteDatabase& database, const std::string& sql);

    /// Sets the parameter of that number, counted from 1. The bytes must stay until Run returns.
    void BindText(int number, std::string_view text);
    void BindBlob(int number, std::string_view bytes);
    void BindInteger(int number, std::int64_t value);
    void BindReal(int number, double value);
    /// The parameter's value is NULL again.
    void BindNull(int number);

    /// Runs to the end and makes the statement ready for the next run. Rows are passed over.
    void Run();

    /// The next row of the result. @return false after the last one; the statement is ready for the
    /// next run then
    [[nodiscard]] bool Next();

    /// A column of the row at hand, counted from 0. Texts and blobs stay until the next row; both
    /// are empty for a null.
    [[nodiscard]] bool IsNull(int column) const;
    [[nodiscard]] std::int64_t GetInteger(int column) const;
    [[nodiscard]] double GetReal(int column) const;
    [[nodiscard]] std::string GetText(int column) const;
    [[nodiscard]] std::string_view GetBlob(int column) const;

    /// The first column of the first row as an integer; 0 without a row.
    [[nodiscard]] std::int64_t RunForInteger();

private:
    struct Finalizer
    {
        void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
    };

    SqliteDatabase& m_database;
    std::unique_ptr<sqlite3_stmt, Finalizer> m_statement;
};

/// The text between double quotes, as names of tables and columns are written in SQL.
[[nodiscard]] std::string QuoteName(std::string_view name);
/// The text between single quotes, as texts are written in SQL.
[[nodiscard]] std::string QuoteText(std::string_view text);

} // namespace Orvane::GeoPackage
