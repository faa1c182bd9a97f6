// libpq without blocking, so that a cancel is heeded.
#include "PostgresConnection.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <new>
#include <poll.h>
#include <sstream>
#include <utility>

namespace Orvane::Postgres {

namespace {

constexpr int kWaitMilliseconds = 100;

/// libpq's messages as one line, without the echo of the statement: `LINE 1: CREATE ...`, and a
/// mark under it.
std::string OneLine(const std::string& text)
{
    std::istringstream lines(text);
    std::string joined;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("LINE ")) {
            std::getline(lines, line);
            continue;
        }
        constexpr const char* kBlanks = " \t\r";
        const std::size_t begin = line.find_first_not_of(kBlanks);
        if (begin != std::string::npos) {
            joined += joined.empty() ? "" : "; ";
            joined += line.substr(begin, line.find_last_not_of(kBlanks) + 1 - begin);
        }
    }
    std::replace(joined.begin(), joined.end(), '\t', ' ');
    return joined;
}

using Clock = std::chrono::steady_clock;

/// How long to wait for the server: `connect_timeout`, wherever libpq has it from.
std::chrono::seconds FindConnectTime(PGconn& connection)
{
    constexpr std::chrono::seconds kUsual{30};
    const std::unique_ptr<PQconninfoOption, void (*)(PQconninfoOption*)> options(
        PQconninfo(&connection), &PQconninfoFree);
    for (const PQconninfoOption* option = options.get();
         option != nullptr && option->keyword != nullptr;
         ++option) {
        const int seconds =
            std::string_view(option->keyword) == "connect_timeout" && option->val != nullptr
                ? std::atoi(option->val)
                : 0;
        if (seconds > 0) {
            return std::chrono::seconds(seconds);
        }
    }
    return kUsual;
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
    // The text may itself be a set of keywords; those before it are for what it does not say, those
    // that follow it count more.
    const char* const keywords[] = {"tcp_user_timeout",
                                    "keepalives_idle",
                                    "keepalives_interval",
                                    "keepalives_count",
                                    "dbname",
                                    "client_encoding",
                                    "fallback_application_name",
                                    nullptr};
    const char* const values[] = {
        "30000", "15", "5", "3", connectionInfo.c_str(), "UTF8", "orvane", nullptr};
    m_connection.reset(PQconnectStartParams(keywords, values, 1));
    if (m_connection == nullptr) {
        throw std::bad_alloc();
    }
    if (PQstatus(m_connection.get()) == CONNECTION_BAD) {
        Fail();
    }
    PQsetNoticeProcessor(
        m_connection.get(), [](void*, const char*) {}, nullptr);
    const Clock::time_point end = Clock::now() + FindConnectTime(*m_connection);
    PostgresPollingStatusType state = PGRES_POLLING_WRITING;
    while (state != PGRES_POLLING_OK) {
        if (state == PGRES_POLLING_FAILED) {
            Fail();
        }
        while (!WaitALittle(state == PGRES_POLLING_WRITING)) {
            if (Clock::now() > end) {
                Fail("the server does not answer");
            }
        }
        state = PQconnectPoll(m_connection.get());
    }
    if (PQsetnonblocking(m_connection.get(), 1) != 0) {
        Fail();
    }
    constexpr int kFirstWithCheck = 140000;
    if (PQserverVersion(m_connection.get()) >= kFirstWithCheck) {
        try {
            Run("SET client_connection_check_interval = 500");
            m_seesEnd = true;
        } catch (const PostgresFailure&) {
            // Not on every system; then the server is told.
            m_seesEnd = false;
        }
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
    // Telling the server needs another connection, which may wait for long.
    PGcancel* const cancel = m_seesEnd ? nullptr : PQgetCancel(m_connection.get());
    if (cancel != nullptr) {
        char message[256];
        PQcancel(cancel, message, sizeof message);
        PQfreeCancel(cancel);
    }
    throw PostgresCancelled();
}

bool PostgresConnection::WaitALittle(bool forWriting)
{
    CheckCancel();
    pollfd entry{PQsocket(m_connection.get()),
                 static_cast<short>(forWriting ? POLLIN | POLLOUT : POLLIN),
                 0};
    if (entry.fd < 0) {
        Fail();
    }
    return poll(&entry, 1, kWaitMilliseconds) > 0;
}

void PostgresConnection::Wait(bool forWriting)
{
    while (!WaitALittle(forWriting)) {
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
