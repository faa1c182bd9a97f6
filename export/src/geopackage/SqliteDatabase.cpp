// Turns SQLite's result codes into exceptions.
#include "SqliteDatabase.h"

#include "WriteFailure.h"

#include <new>
#include <system_error>
#include <utility>

namespace Orvane::GeoPackage {

namespace {

bool IsGood(int code)
{
    return code == SQLITE_OK || code == SQLITE_ROW || code == SQLITE_DONE;
}

std::string Quote(std::string_view text, char mark)
{
    std::string quoted(1, mark);
    for (const char byte : text) {
        quoted.append(byte == mark ? 2 : 1, byte);
    }
    quoted += mark;
    return quoted;
}

} // namespace

SqliteDatabase::SqliteDatabase(const std::filesystem::path& file, EFile kind)
{
    std::error_code error;
    const bool isNew = kind == EFile::New;
    if (isNew && std::filesystem::exists(file, error)) {
        throw WriteFailure("the file is there already");
    }
    const int code = sqlite3_open_v2(file.c_str(),
                                     &m_handle,
                                     SQLITE_OPEN_READWRITE | (isNew ? SQLITE_OPEN_CREATE : 0) |
                                         SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE,
                                     nullptr);
    if (IsGood(code)) {
        return;
    }
    // SQLite hands out a connection that only knows its error, or none for lack of memory.
    try {
        if (m_handle == nullptr) {
            throw std::bad_alloc();
        }
        Check(code);
    } catch (...) {
        sqlite3_close(m_handle);
        throw;
    }
}

SqliteDatabase::~SqliteDatabase()
{
    sqlite3_close(m_handle);
}

void SqliteDatabase::Close()
{
    const int code = sqlite3_close(m_handle);
    if (IsGood(code)) {
        m_handle = nullptr;
        return;
    }
    Check(code);
}

void SqliteDatabase::Execute(const std::string& sql)
{
    Check(sqlite3_exec(m_handle, sql.c_str(), nullptr, nullptr, nullptr));
}

void SqliteDatabase::SetStep(const Step* step)
{
    constexpr int kInstructionsOfStep = 20'000;
    m_step = step;
    sqlite3_progress_handler(
        m_handle, step == nullptr ? 0 : kInstructionsOfStep, &SqliteDatabase::OnStep, this);
}

int SqliteDatabase::OnStep(void* self) noexcept
{
    // No exception passes through SQLite: it is kept for Check.
    auto* const database = static_cast<SqliteDatabase*>(self);
    try {
        (*database->m_step)();
        return 0;
    } catch (...) {
        database->m_stepFailure = std::current_exception();
        return 1;
    }
}

void SqliteDatabase::Check(int code) const
{
    if (IsGood(code)) {
        return;
    }
    if (m_stepFailure) {
        std::rethrow_exception(std::exchange(m_stepFailure, nullptr));
    }
    constexpr int kPlainCode = 0xFF;
    const int plain = code & kPlainCode;
    if (plain == SQLITE_NOMEM || code == SQLITE_IOERR_NOMEM) {
        throw std::bad_alloc();
    }
    std::string reason = sqlite3_errmsg(m_handle);
    // The file keeps the error of its own last call; without a file the connection knows.
    int systemError = 0;
    if (sqlite3_file_control(m_handle, "main", SQLITE_FCNTL_LAST_ERRNO, &systemError) !=
            SQLITE_OK ||
        systemError == 0) {
        systemError = sqlite3_system_errno(m_handle);
    }
    const bool isOfSystem = plain == SQLITE_IOERR || plain == SQLITE_CANTOPEN;
    if (isOfSystem && systemError != 0) {
        reason += " (" + std::generic_category().message(systemError) + ")";
    }
    throw WriteFailure(reason);
}

SqliteStatement::SqliteStatement(SqliteDatabase& database, const std::string& sql)
    : m_database(database)
{
    sqlite3_stmt* statement = nullptr;
    m_database.Check(sqlite3_prepare_v2(
        m_database.GetHandle(), sql.c_str(), static_cast<int>(sql.size()), &statement, nullptr));
    m_statement.reset(statement);
}

void SqliteStatement::BindText(int number, std::string_view text)
{
    m_database.Check(sqlite3_bind_text64(
        m_statement.get(), number, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8));
}

void SqliteStatement::BindBlob(int number, std::string_view bytes)
{
    m_database.Check(
        sqlite3_bind_blob64(m_statement.get(), number, bytes.data(), bytes.size(), SQLITE_STATIC));
}

void SqliteStatement::BindInteger(int number, std::int64_t value)
{
    m_database.Check(sqlite3_bind_int64(m_statement.get(), number, value));
}

void SqliteStatement::BindReal(int number, double value)
{
    m_database.Check(sqlite3_bind_double(m_statement.get(), number, value));
}

void SqliteStatement::BindNull(int number)
{
    m_database.Check(sqlite3_bind_null(m_statement.get(), number));
}

void SqliteStatement::Run()
{
    static_cast<void>(RunForInteger());
}

bool SqliteStatement::Next()
{
    const int code = sqlite3_step(m_statement.get());
    if (code == SQLITE_ROW) {
        return true;
    }
    m_database.Check(code);
    m_database.Check(sqlite3_reset(m_statement.get()));
    return false;
}

bool SqliteStatement::IsNull(int column) const
{
    return sqlite3_column_type(m_statement.get(), column) == SQLITE_NULL;
}

std::int64_t SqliteStatement::GetInteger(int column) const
{
    return sqlite3_column_int64(m_statement.get(), column);
}

double SqliteStatement::GetReal(int column) const
{
    return sqlite3_column_double(m_statement.get(), column);
}

std::string SqliteStatement::GetText(int column) const
{
    const auto* const text =
        reinterpret_cast<const char*>(sqlite3_column_text(m_statement.get(), column));
    const int size = sqlite3_column_bytes(m_statement.get(), column);
    return text == nullptr ? std::string() : std::string(text, static_cast<std::size_t>(size));
}

std::string_view SqliteStatement::GetBlob(int column) const
{
    const void* const bytes = sqlite3_column_blob(m_statement.get(), column);
    const int size = sqlite3_column_bytes(m_statement.get(), column);
    return {static_cast<const char*>(bytes), bytes == nullptr ? 0 : static_cast<std::size_t>(size)};
}

std::int64_t SqliteStatement::RunForInteger()
{
    int code = sqlite3_step(m_statement.get());
    const std::int64_t value = code == SQLITE_ROW ? sqlite3_column_int64(m_statement.get(), 0) : 0;
    while (code == SQLITE_ROW) {
        code = sqlite3_step(m_statement.get());
    }
    m_database.Check(code);
    m_database.Check(sqlite3_reset(m_statement.get()));
    return value;
}

std::string QuoteName(std::string_view name)
{
    return Quote(name, '"');
}

std::string QuoteText(std::string_view text)
{
    return Quote(text, '\'');
}

} // namespace Orvane::GeoPackage
