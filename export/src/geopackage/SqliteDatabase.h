// A connection to an SQLite database and its statements, as objects.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <sqlite3.h>
#include <string>
#include <string_view>

namespace Orvane::GeoPackage {

/// A connection to a new database file that one thread uses alone.
///
/// Nothing of SQLite's settings for the whole process is changed: the connection itself is opened
/// without a lock of its own (SQLITE_OPEN_NOMUTEX).
class SqliteDatabase
{
public:
    /// Makes and opens the file. @param file absolute; must not exist
    /// @throws WriteFailure, std::bad_alloc; no file is left then.
    explicit SqliteDatabase(const std::filesystem::path& file);
    /// Closes; what was not committed is not a database.
    ~SqliteDatabase();
    SqliteDatabase(const SqliteDatabase&) = delete;
    SqliteDatabase& operator=(const SqliteDatabase&) = delete;

    [[nodiscard]] sqlite3* GetHandle() const noexcept { return m_handle; }

    /// Runs statements without results. @param sql UTF-8, one or more statements
    /// @throws as Check.
    void Execute(const std::string& sql);

    /// @param code SQLite's result of the connection's last call
    /// @throws std::bad_alloc for SQLITE_NOMEM; WriteFailure with SQLite's words and the system's
    ///     for any other code but SQLITE_OK, SQLITE_ROW and SQLITE_DONE.
    void Check(int code) const;

    /// Closes after the last statement, and says whether that worked. Once.
    /// @throws as Check.
    void Close();

private:
    sqlite3* m_handle = nullptr;
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
