// A check, a table, or iconv.
#include "CellDecoder.h"

#include <Orvane/BTextArray.h>
#include <Orvane/Import/Failure.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iconv.h>
#include <kernels/Kernels.h>
#include <strings.h>
#include <text/Utf8.h>
#include <utility>

namespace Orvane::Import::Table {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

/// Whether iconv_open has given its value for no handle, a number in a pointer's place.
bool IsNoHandle(iconv_t handle)
{
    return handle == reinterpret_cast<iconv_t>(-1); // NOLINT(performance-no-int-to-ptr)
}

bool IsSameName(const std::string& name, const char* other)
{
    return ::strcasecmp(name.c_str(), other) == 0;
}

/// Converts as much as it can. @return 0, or iconv's error
int Convert(iconv_t handle, const char*& from, std::size_t& left, std::string& out)
{
    // iconv does not change its input.
    char* in = const_cast<char*>(from); // NOLINT(cppcoreguidelines-pro-type-const-cast)
    int error = 0;
    while (left > 0) {
        std::array<char, 1024> buffer{};
        char* to = buffer.data();
        std::size_t room = buffer.size();
        const std::size_t status = iconv(handle, &in, &left, &to, &room);
        out.append(buffer.data(), buffer.size() - room);
        if (status == static_cast<std::size_t>(-1) && errno != E2BIG) {
            error = errno;
            break;
        }
    }
    from = in;
    return error;
}

} // namespace

CellDecoder::CellDecoder(const std::string& encoding, const std::string& file)
{
    if (encoding.empty() || IsSameName(encoding, "UTF-8") || IsSameName(encoding, "UTF8")) {
        return;
    }
    m_iconv = iconv_open("UTF-8", encoding.c_str());
    if (IsNoHandle(m_iconv)) {
        m_iconv = nullptr;
        FailureFields fields;
        fields.kind = EFailureKind::Request;
        fields.code = "unknown-codec";
        fields.what = "There is no text encoding '" + encoding + "'.";
        fields.file = file;
        fields.value = encoding;
        throw ImportFailure(std::move(fields));
    }
    m_kind = EKind::ManyBytes;
    MakeTable();
}

CellDecoder::~CellDecoder()
{
    if (m_iconv != nullptr) {
        iconv_close(m_iconv);
    }
}

void CellDecoder::MakeTable()
{
    std::string decoded;
    const auto convertByte = [&](unsigned byte) {
        const char unit = static_cast<char>(byte);
        const char* from = &unit;
        std::size_t left = 1;
        decoded.clear();
        const int error = Convert(m_iconv, from, left, decoded);
        iconv(m_iconv, nullptr, nullptr, nullptr, nullptr);
        return error;
    };
    // Rule: what an encoding makes of a backslash and a tilde does not matter; both stay.
    const auto isKept = [](unsigned byte) {
        return byte == '\t' || (byte >= ' ' && byte < 0x7F && byte != '\\' && byte != '~');
    };
    for (unsigned byte = 0; byte < 0x80; ++byte) {
        const bool isSame = convertByte(byte) == 0 && decoded.size() == 1 &&
                            static_cast<unsigned char>(decoded[0]) == byte;
        m_keepsAscii = m_keepsAscii && (isSame || !isKept(byte));
    }
    if (!m_keepsAscii) {
        return;
    }
    for (unsigned byte = 0x80; byte < 0x100; ++byte) {
        const int error = convertByte(byte);
        if (error == EINVAL || (error == 0 && (decoded.empty() || decoded.size() > 4))) {
            return;
        }
        const std::size_t index = byte - 0x80;
        m_sizes[index] = error == 0 ? static_cast<std::uint8_t>(decoded.size()) : std::uint8_t{0};
        m_isTableWhole = m_isTableWhole && error == 0;
        std::copy_n(decoded.begin(), m_sizes[index], m_table[index].begin());
    }
    m_kind = EKind::OneByte;
}

bool CellDecoder::IsPlain(std::string_view bytes) const noexcept
{
    switch (m_kind) {
    case EKind::Utf8:
        return IsAscii(bytes) || AsciiReader::CheckUtf8(bytes).validSize == bytes.size();
    case EKind::OneByte:
        return IsAscii(bytes);
    case EKind::ManyBytes:
        break;
    }
    // Bytes below 0x80 are parts of characters only after others, or after an escape.
    return m_keepsAscii && IsAscii(bytes) &&
           bytes.find_first_of("\x1B\x0E") == std::string_view::npos;
}

bool CellDecoder::IsValid(std::string_view bytes)
{
    if (IsPlain(bytes)) {
        return true;
    }
    switch (m_kind) {
    case EKind::Utf8:
        return false;
    case EKind::OneByte:
        return m_isTableWhole || std::all_of(bytes.begin(), bytes.end(), [this](char unit) {
                   const auto byte = static_cast<unsigned char>(unit);
                   return byte < 0x80 || m_sizes[byte - 0x80U] > 0;
               });
    case EKind::ManyBytes:
        break;
    }
    m_scratch.clear();
    return AppendByIconv(bytes, m_scratch);
}

bool CellDecoder::Append(std::string_view bytes, std::string& out)
{
    if (IsPlain(bytes)) {
        out.append(bytes);
        return true;
    }
    switch (m_kind) {
    case EKind::Utf8:
        return AppendUtf8(bytes, out);
    case EKind::OneByte:
        return AppendByTable(bytes, out);
    case EKind::ManyBytes:
        break;
    }
    return AppendByIconv(bytes, out);
}

bool CellDecoder::AppendUtf8(std::string_view bytes, std::string& out) const
{
    while (!bytes.empty()) {
        const std::size_t valid = AsciiReader::CheckUtf8(bytes).validSize;
        out.append(bytes.substr(0, valid));
        bytes.remove_prefix(valid);
        if (!bytes.empty()) {
            out.append(kReplacement);
            bytes.remove_prefix(1);
        }
    }
    return false;
}

bool CellDecoder::AppendByTable(std::string_view bytes, std::string& out) const
{
    bool isValid = true;
    for (const char unit : bytes) {
        const auto byte = static_cast<unsigned char>(unit);
        if (byte < 0x80) {
            out.push_back(unit);
            continue;
        }
        const std::size_t index = byte - 0x80U;
        if (m_sizes[index] == 0) {
            out.append(kReplacement);
            isValid = false;
        } else {
            out.append(m_table[index].data(), m_sizes[index]);
        }
    }
    return isValid;
}

bool CellDecoder::AppendByIconv(std::string_view bytes, std::string& out)
{
    bool isValid = true;
    const char* from = bytes.data();
    std::size_t left = bytes.size();
    while (left > 0) {
        if (Convert(m_iconv, from, left, out) != 0) {
            out.append(kReplacement);
            isValid = false;
            ++from;
            --left;
            iconv(m_iconv, nullptr, nullptr, nullptr, nullptr);
        }
    }
    // A text is decoded from the initial state.
    iconv(m_iconv, nullptr, nullptr, nullptr, nullptr);
    return isValid;
}

} // namespace Orvane::Import::Table
