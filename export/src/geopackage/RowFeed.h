// Feeds rows of C++ objects to an INSERT, all rows in one run of one statement.
#pragma once

#include "SqliteDatabase.h"

#include <concepts>
#include <cstddef>
#include <exception>
#include <new>
#include <string>

namespace Orvane::GeoPackage {

/// Something that has rows for a table, one after the other.
///
/// Next moves to the next row (to the first one at the first call) and says whether there is one.
/// SetColumn gives a value of the row at hand to SQLite; columns count from 0. What is given
/// without a copy (SQLITE_STATIC) must stay until the next call of Next. Both may throw.
template <typename Rows>
concept RowProducer = requires(Rows& rows, sqlite3_context* context, int columnIndex)
{
    {
        rows.Next()
        } -> std::same_as<bool>;
    rows.SetColumn(context, columnIndex);
};

/// An INSERT whose rows come from a RowProducer.
///
/// The producer stands as a virtual table of the connection, and the statement is
/// "INSERT INTO ... SELECT * FROM it". Against an INSERT run row by row this saves binding each
/// value, and beginning and ending a statement per row; the values go into the record straight from
/// the producer.
///
/// An exception of the producer stops the statement and leaves Run unchanged.
///
///     NumberRows rows;
///     RowFeed<NumberRows> feed(database, "numbers", 2, "INSERT INTO squares(n, square)", rows);
///     feed.Run();
template <RowProducer Rows>
class RowFeed
{
public:
    /// @param name of the virtual table; no other feed of the connection has it meanwhile
    /// @param columnCount at most SQLite's limit of 2000
    /// @param insert the statement up to the rows, as "INSERT INTO t(a, b)"
    /// @param rows must outlive the feed
    /// @throws as SqliteDatabase::Check.
    RowFeed(SqliteDatabase& database,
            const std::string& name,
            std::size_t columnCount,
            const std::string& insert,
            Rows& rows)
        : m_module(database, name, *this)
        , m_database(database)
        , m_rows(rows)
        , m_declaration(Declare(columnCount))
        , m_insert(database, insert + " SELECT * FROM " + QuoteName(name))
    {}

    RowFeed(const RowFeed&) = delete;
    RowFeed& operator=(const RowFeed&) = delete;

    /// Inserts all rows that the producer has. May be called again when it has more.
    /// @throws what the producer throws; otherwise as SqliteDatabase::Check. Rows may have been
    ///     inserted then.
    void Run()
    {
        m_failure = nullptr;
        try {
            m_insert.Run();
        } catch (...) {
            if (m_failure) {
                std::rethrow_exception(m_failure);
            }
            throw;
        }
    }

private:
    struct Cursor
    {
        sqlite3_vtab_cursor base;
        RowFeed* feed;
        bool hasRow;
        sqlite3_int64 rowNumber;
    };

    struct Table
    {
        sqlite3_vtab base;
        RowFeed* feed;
    };

    /// The registered name; goes after the statement that uses it.
    class Module
    {
    public:
        Module(SqliteDatabase& database, const std::string& name, RowFeed& feed)
            : m_database(database)
            , m_name(name)
        {
            database.Check(sqlite3_create_module_v2(
                database.GetHandle(), name.c_str(), &kCallbacks, &feed, nullptr));
        }

        ~Module()
        {
            sqlite3_create_module_v2(
                m_database.GetHandle(), m_name.c_str(), nullptr, nullptr, nullptr);
        }

        Module(const Module&) = delete;
        Module& operator=(const Module&) = delete;

    private:
        SqliteDatabase& m_database;
        std::string m_name;
    };

    static std::string Declare(std::size_t columnCount)
    {
        std::string sql = "CREATE TABLE x(";
        for (std::size_t index = 0; index < columnCount; ++index) {
            sql += (index == 0 ? "c" : ",c") + std::to_string(index);
        }
        return sql + ")";
    }

    static int Connect(sqlite3* handle,
                       void* feed,
                       int /*argumentCount*/,
                       const char* const* /*arguments*/,
                       sqlite3_vtab** table,
                       char** /*message*/)
    {
        auto* const self = static_cast<RowFeed*>(feed);
        const int code = sqlite3_declare_vtab(handle, self->m_declaration.c_str());
        if (code != SQLITE_OK) {
            return code;
        }
        auto* const made = new (std::nothrow) Table{{}, self};
        if (made == nullptr) {
            return SQLITE_NOMEM;
        }
        *table = &made->base;
        return SQLITE_OK;
    }

    static int Disconnect(sqlite3_vtab* table)
    {
        delete reinterpret_cast<Table*>(table);
        return SQLITE_OK;
    }

    static int BestIndex(sqlite3_vtab* /*table*/, sqlite3_index_info* /*info*/)
    {
        return SQLITE_OK;
    }

    static int Open(sqlite3_vtab* table, sqlite3_vtab_cursor** cursor)
    {
        auto* const made =
            new (std::nothrow) Cursor{{}, reinterpret_cast<Table*>(table)->feed, false, 0};
        if (made == nullptr) {
            return SQLITE_NOMEM;
        }
        *cursor = &made->base;
        return SQLITE_OK;
    }

    static int Close(sqlite3_vtab_cursor* cursor)
    {
        delete reinterpret_cast<Cursor*>(cursor);
        return SQLITE_OK;
    }

    static int Filter(sqlite3_vtab_cursor* cursor,
                      int /*indexNumber*/,
                      const char* /*indexText*/,
                      int /*argumentCount*/,
                      sqlite3_value** /*arguments*/)
    {
        return Next(cursor);
    }

    static int Next(sqlite3_vtab_cursor* cursor)
    {
        auto* const self = reinterpret_cast<Cursor*>(cursor);
        ++self->rowNumber;
        return self->feed->Shield([self] { self->hasRow = self->feed->m_rows.Next(); });
    }

    static int IsAtEnd(sqlite3_vtab_cursor* cursor)
    {
        return reinterpret_cast<Cursor*>(cursor)->hasRow ? 0 : 1;
    }

    static int Column(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int columnIndex)
    {
        RowFeed& feed = *reinterpret_cast<Cursor*>(cursor)->feed;
        return feed.Shield([&] { feed.m_rows.SetColumn(context, columnIndex); });
    }

    static int RowNumber(sqlite3_vtab_cursor* cursor, sqlite3_int64* rowNumber)
    {
        *rowNumber = reinterpret_cast<Cursor*>(cursor)->rowNumber;
        return SQLITE_OK;
    }

    /// No exception passes through SQLite: it is kept for Run.
    template <typename Operation>
    int Shield(const Operation& operation) noexcept
    {
        try {
            operation();
            return SQLITE_OK;
        } catch (...) {
            m_failure = std::current_exception();
            return SQLITE_ABORT;
        }
    }

    static constexpr sqlite3_module MakeCallbacks()
    {
        sqlite3_module callbacks{};
        // Without xCreate the table is there by the module's name alone.
        callbacks.xConnect = &RowFeed::Connect;
        callbacks.xBestIndex = &RowFeed::BestIndex;
        callbacks.xDisconnect = &RowFeed::Disconnect;
        callbacks.xOpen = &RowFeed::Open;
        callbacks.xClose = &RowFeed::Close;
        callbacks.xFilter = &RowFeed::Filter;
        callbacks.xNext = &RowFeed::Next;
        callbacks.xEof = &RowFeed::IsAtEnd;
        callbacks.xColumn = &RowFeed::Column;
        callbacks.xRowid = &RowFeed::RowNumber;
        return callbacks;
    }

    static const sqlite3_module kCallbacks;

    Module m_module;
    SqliteDatabase& m_database;
    Rows& m_rows;
    std::string m_declaration;
    std::exception_ptr m_failure;
    SqliteStatement m_insert;
};

template <RowProducer Rows>
const sqlite3_module RowFeed<Rows>::kCallbacks = RowFeed<Rows>::MakeCallbacks();

} // namespace Orvane::GeoPackage
