// A connection to a PostgreSQL server that heeds a cancel while it waits.
#pragma once

#include <functional>
#include <libpq-fe.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Postgres {

/// What the server or libpq says, one line, without a full stop added. UTF-8.
class PostgresFailure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Thrown where the caller has asked to stop.
class PostgresCancelled : public std::exception
{};

/// A name as SQL writes it: in double quotes, those inside doubled.
[[nodiscard]] std::string QuoteName(std::string_view name);

/// A connection. Every wait ends within a tenth of a second when `isCancelled` says so, by
/// PostgresCancelled. The connection is of no use then: when it ends, the server stops what it does
/// and rolls back; one before version 14 is told to. One thread at a time.
///
///     PostgresConnection connection("dbname=survey", [] { return false; });
///     connection.Run("BEGIN");
///     connection.BeginCopy("COPY points FROM STDIN (FORMAT binary)");
///     connection.PutCopy(bytes);
///     connection.EndCopy();
///     connection.Run("COMMIT");
///
/// A transaction that is open at the end is rolled back by the server.
/// All operations throw PostgresFailure and PostgresCancelled.
class PostgresConnection
{
public:
    using CancelTest = std::function<bool()>;

    /// Connects. Texts are UTF-8 on both sides; the server's notices go nowhere. A server that does
    /// not answer is waited for as long as `connect_timeout` says, and half a minute without it; so
    /// long, too, for one that falls silent later, unless `tcp_user_timeout` says otherwise.
    /// @param connectionInfo keywords or an address, as libpq reads them
    /// @param isCancelled called while waiting; may throw, which leaves unchanged
    PostgresConnection(const std::string& connectionInfo, CancelTest isCancelled);

    /// Runs one statement. @return its rows; a value that is null is an empty optional
    std::vector<std::vector<std::optional<std::string>>>
    Run(const std::string& sql, const std::vector<std::string>& parameters = {});

    /// The first value of the first row; empty when there is none, or when it is null.
    [[nodiscard]] std::string RunForText(const std::string& sql,
                                         const std::vector<std::string>& parameters = {});

    /// Whether the server can no longer be reached through this connection.
    [[nodiscard]] bool IsLost() const { return PQstatus(m_connection.get()) == CONNECTION_BAD; }

    void BeginCopy(const std::string& sql);
    /// Sends a piece of the data; waits until the server has accepted it.
    void PutCopy(std::string_view bytes);
    void EndCopy();

private:
    struct ConnectionEnd
    {
        void operator()(PGconn* connection) const noexcept { PQfinish(connection); }
    };

    struct ResultEnd
    {
        void operator()(PGresult* result) const noexcept { PQclear(result); }
    };

    using Result = std::unique_ptr<PGresult, ResultEnd>;

    [[noreturn]] void Fail() const;
    [[noreturn]] static void Fail(const char* message);
    void Flush();
    /// Waits for a tenth of a second at most. @return whether Wait is over
    [[nodiscard]] bool WaitALittle(bool forWriting);
    /// Waits until the connection can be read, or written when that is wanted.
    void Wait(bool forWriting);
    void CheckCancel();
    Result NextResult();

    CancelTest m_isCancelled;
    bool m_seesEnd = false; ///< the server stops what it does when the connection ends
    std::unique_ptr<PGconn, ConnectionEnd> m_connection;
};

} // namespace Orvane::Postgres
