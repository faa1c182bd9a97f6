// libpq without blocking, so that a cancel is heeded.
#include "PostgresConnection.h"

#include <poll.h>
#include <utility>

namespace Orvane::Postgres {

namespace {

constexpr int kWaitMilliseconds = 100;

/// libpq's messages as one line.
std::string OneLine(std::string text)
{
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) {
        text.pop_back();
    }
    std::string line;
    for (const char byte : text) {
        if (byte == '\n') {
            line += "; ";
        } else if (byte != '\r') {
            line += byte == '\t' ? ' ' : byte;
        }
    }
    return line;
}

} // namespace

std::string QuoteName(std::string_view name)
{
    std::string quoted = "\"";
    for (const char byte : name) {
        quoted += byte == '"' ? "\"\"" : std::string(1, byte);
    }
    return quoted + '"';
}

PostgresConnection::PostgresConnection(const std::string& connectionInfo, CancelTest isCancelled)
    : m_isCancelled(std::move(isCancelled))
{
    // The text may itself be a set of keywords; those that follow it count more.
    const char* const keywords[] = {
        "dbname", "client_encoding", "fallback_application_name", nullptr};
    const char* const values[] = {connectionInfo.c_str(), "UTF8", "orvane", nullptr};
    m_connection.reset(PQconnectStartParams(keywords, values, 1));
    if (m_connection == nullptr) {
        throw std::bad_alloc();
    }
    if (PQstatus(m_connection.get()) == CONNECTION_BAD) {
        Fail();
    }
    PQsetNoticeProcessor(
        m_connection.get(), [](void*, const char*) {}, nullptr);
    PostgresPollingStatusType state = PGRES_POLLING_WRITING;
    while (state != PGRES_POLLING_OK) {
        if (state == PGRES_POLLING_FAILED) {
            Fail();
        }
        Wait(state == PGRES_POLLING_WRITING);
        state = PQconnectPoll(m_connection.get());
    }
    if (PQsetnonblocking(m_connection.get(), 1) != 0) {
        Fail();
    }
}

void PostgresConnection::Fail() const
{
    Fail(PQerrorMessage(m_connection.get()));
}

void PostgresConnection::Fail(const char* message)
{
    const std::string line = OneLine(message == nullptr ? "" : message);
    throw PostgresFailure(line.empty() ? "the connection has failed" : line);
}

void PostgresConnection::CheckCancel()
{
    if (!m_isCancelled()) {
        return;
    }
    PGcancel* const cancel = PQgetCancel(m_connection.get());
    if (cancel != nullptr) {
        char message[256];
        PQcancel(cancel, message, sizeof message);
        PQfreeCancel(cancel);
    }
    throw PostgresCancelled();
}

void PostgresConnection::Wait(bool forWriting)
{
    for (;;) {
        CheckCancel();
        pollfd entry{PQsocket(m_connection.get()),
                     static_cast<short>(forWriting ? POLLIN | POLLOUT : POLLIN),
                     0};
        if (entry.fd < 0) {
            Fail();
        }
        if (poll(&entry, 1, kWaitMilliseconds) > 0) {
            return;
        }
    }
}

void PostgresConnection::Flush()
{
    for (;;) {
        const int state = PQflush(m_connection.get());
        if (state < 0) {
            Fail();
        }
        if (state == 0) {
            return;
        }
        Wait(true);
        // A server that has something to say before it listens must be read.
        if (PQconsumeInput(m_connection.get()) == 0) {
            Fail();
        }
    }
}

PostgresConnection::Result PostgresConnection::NextResult()
{
    while (PQisBusy(m_connection.get()) != 0) {
        Wait(false);
        if (PQconsumeInput(m_connection.get()) == 0) {
            Fail();
        }
    }
    return Result(PQgetResult(m_connection.get()));
}

std::vector<std::vector<std::optional<std::string>>>
PostgresConnection::Run(const std::string& sql, const std::vector<std::string>& parameters)
{
    std::vector<const char*> values;
    values.reserve(parameters.size());
    for (const std::string& parameter : parameters) {
        values.push_back(parameter.c_str());
    }
    if (PQsendQueryParams(m_connection.get(),
                          sql.c_str(),
                          static_cast<int>(values.size()),
                          nullptr,
                          values.data(),
                          nullptr,
                          nullptr,
                          0) == 0) {
        Fail();
    }
    Flush();
    std::vector<std::vector<std::optional<std::string>>> rows;
    std::string failure;
    while (const Result result = NextResult()) {
        const ExecStatusType status = PQresultStatus(result.get());
        if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK) {
            failure = PQresultErrorMessage(result.get());
            continue;
        }
        for (int row = 0; row < PQntuples(result.get()); ++row) {
            std::vector<std::optional<std::string>>& cells = rows.emplace_back();
            for (int column = 0; column < PQnfields(result.get()); ++column) {
                if (PQgetisnull(result.get(), row, column) != 0) {
                    cells.emplace_back();
                } else {
                    cells.emplace_back(PQgetvalue(result.get(), row, column));
                }
            }
        }
    }
    if (!failure.empty()) {
        Fail(failure.c_str());
    }
    return rows;
}

std::string PostgresConnection::RunForText(const std::string& sql,
                                           const std::vector<std::string>& parameters)
{
    const auto rows = Run(sql, parameters);
    return rows.empty() || rows[0].empty() ? std::string() : rows[0][0].value_or(std::string());
}

void PostgresConnection::BeginCopy(const std::string& sql)
{
    if (PQsendQuery(m_connection.get(), sql.c_str()) == 0) {
        Fail();
    }
    Flush();
    const Result result = NextResult();
    if (PQresultStatus(result.get()) != PGRES_COPY_IN) {
        Fail(PQresultErrorMessage(result.get()));
    }
}

void PostgresConnection::PutCopy(std::string_view bytes)
{
    CheckCancel();
    if (PQputCopyData(m_connection.get(), bytes.data(), static_cast<int>(bytes.size())) != 1) {
        Fail();
    }
    Flush();
}

void PostgresConnection::EndCopy()
{
    if (PQputCopyEnd(m_connection.get(), nullptr) != 1) {
        Fail();
    }
    Flush();
    std::string failure;
    while (const Result result = NextResult()) {
        if (PQresultStatus(result.get()) != PGRES_COMMAND_OK) {
            failure = PQresultErrorMessage(result.get());
        }
    }
    if (!failure.empty()) {
        Fail(failure.c_str());
    }
}

} // namespace Orvane::Postgres
