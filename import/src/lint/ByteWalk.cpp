// Byte by byte, in pieces, with a few bytes of view ahead.
#include "ByteWalk.h"

#include "plan/PlanDialect.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace Orvane::Import {

namespace {

constexpr std::size_t kPiece = std::size_t{64} * 1024;
/// The longest UTF-8 sequence, and `\r\n`.
constexpr std::size_t kAhead = 4;

EPlanLineEnd UsualLineEnd(const PlanBytes& bytes)
{
    if (bytes.returnsAndFeeds >= bytes.feeds && bytes.returnsAndFeeds >= bytes.returns) {
        return EPlanLineEnd::ReturnAndFeed;
    }
    return bytes.feeds >= bytes.returns ? EPlanLineEnd::Feed : EPlanLineEnd::Return;
}

int CountKinds(const PlanBytes& bytes)
{
    return (bytes.feeds > 0 ? 1 : 0) + (bytes.returnsAndFeeds > 0 ? 1 : 0) +
           (bytes.returns > 0 ? 1 : 0);
}

bool HasInvalidUtf8(const Plan& plan)
{
    return plan.bytes.encoding.value == "UTF-8" && plan.bytes.positions == "file" &&
           std::any_of(plan.findings.begin(), plan.findings.end(), [](const PlanFinding& finding) {
               return finding.code == "invalid-utf-8";
           });
}

bool MayDifferFromLatin1(const Plan& plan)
{
    return plan.bytes.encoding.value == "WINDOWS-1252" && plan.bytes.positions == "file";
}

} // namespace

bool ByteWalk::IsNeeded(const Plan& plan)
{
    return CountKinds(plan.bytes) > 1 || plan.bytes.nuls > 0 || HasInvalidUtf8(plan) ||
           MayDifferFromLatin1(plan);
}

ByteWalk::ByteWalk(const Plan& plan, Add add)
    : m_source(OpenText(plan))
    , m_add(std::move(add))
    , m_findsLineEnds(CountKinds(plan.bytes) > 1)
    , m_findsInvalid(HasInvalidUtf8(plan))
    , m_findsNotLatin1(MayDifferFromLatin1(plan))
    , m_isUtf8(plan.bytes.positions == "text" || plan.bytes.encoding.value == "UTF-8")
    , m_usual(UsualLineEnd(plan.bytes))
    , m_rule(plan.bytes.lineEnd.value)
    , m_buffer(kPiece)
{}

bool ByteWalk::Fill()
{
    std::memmove(m_buffer.data(), m_buffer.data() + m_at, m_size - m_at);
    m_size -= m_at;
    m_byte += m_at;
    m_at = 0;
    if (!m_isAtEnd) {
        const std::size_t wanted = m_buffer.size() - m_size;
        const std::size_t got = m_source->Read(m_buffer.data() + m_size, wanted);
        m_isAtEnd = got < wanted;
        m_size += got;
    }
    return m_size > 0;
}

void ByteWalk::ReportRun()
{
    if (m_hasRun) {
        m_hasRun = false;
        m_add(m_run);
    }
}

void ByteWalk::EndLine(EPlanLineEnd kind, std::size_t size)
{
    if (m_findsLineEnds && kind != m_usual) {
        m_add({EOddByte::LineEnd, {m_line, m_character, m_byte + m_at}, 1, kind});
    }
    m_at += size;
    // Rule: what ends a line here is what ends one for the plan.
    const bool isEnd = kind == EPlanLineEnd::Return
                           ? m_rule == EPlanLineEnd::Return || m_rule == EPlanLineEnd::Mixed
                           : m_rule != EPlanLineEnd::Return || kind != EPlanLineEnd::Feed;
    if (isEnd) {
        ++m_line;
        m_character = 1;
    } else {
        ++m_character;
    }
}

/// The bytes of the UTF-8 sequence at the place; 0 when there is none.
std::size_t ByteWalk::MeasureCharacter() const
{
    const auto unit = [&](std::size_t index) {
        return m_at + index < m_size ? static_cast<unsigned char>(m_buffer[m_at + index])
                                     : static_cast<unsigned char>(0);
    };
    const unsigned lead = unit(0);
    const unsigned next = unit(1);
    std::size_t length = 0;
    // The second byte says what is overlong, a surrogate or past the last character.
    if (lead >= 0xC2U && lead < 0xE0U) {
        length = 2;
    } else if (lead >= 0xE0U && lead < 0xF0U) {
        length = (lead == 0xE0U && next < 0xA0U) || (lead == 0xEDU && next >= 0xA0U) ? 0 : 3;
    } else if (lead >= 0xF0U && lead < 0xF5U) {
        length = (lead == 0xF0U && next < 0x90U) || (lead == 0xF4U && next >= 0x90U) ? 0 : 4;
    }
    for (std::size_t index = 1; index < length; ++index) {
        if ((unit(index) & 0xC0U) != 0x80U) {
            return 0;
        }
    }
    return length;
}

void ByteWalk::Walk(std::uint64_t end)
{
    // Near the buffer's end a sequence or `\r\n` may go on past it.
    const std::size_t seen = m_isAtEnd ? m_size : m_size - std::min(m_size, kAhead);
    while (m_at < seen && m_byte + m_at < end) {
        const auto unit = static_cast<unsigned char>(m_buffer[m_at]);
        const bool isInvalid = m_findsInvalid && unit >= 0x80 && MeasureCharacter() == 0;
        const bool isNotLatin1 = m_findsNotLatin1 && unit >= 0x80 && unit < 0xA0;
        if (unit == 0 || isInvalid || isNotLatin1) {
            const EOddByte kind = unit == 0   ? EOddByte::Nul
                                  : isInvalid ? EOddByte::InvalidUtf8
                                              : EOddByte::NotLatin1;
            if (m_hasRun && m_run.kind == kind) {
                ++m_run.count;
            } else {
                ReportRun();
                m_run = {kind, {m_line, m_character, m_byte + m_at}, 1, m_usual};
                m_hasRun = true;
            }
            ++m_at;
            ++m_character;
            continue;
        }
        ReportRun();
        if (unit == '\r') {
            const bool isPair = m_at + 1 < m_size && m_buffer[m_at + 1] == '\n';
            EndLine(isPair ? EPlanLineEnd::ReturnAndFeed : EPlanLineEnd::Return, isPair ? 2 : 1);
        } else if (unit == '\n') {
            EndLine(EPlanLineEnd::Feed, 1);
        } else if (unit >= 0x80 && m_isUtf8) {
            m_at += std::max<std::size_t>(MeasureCharacter(), 1);
            ++m_character;
        } else {
            ++m_at;
            ++m_character;
        }
    }
}

void ByteWalk::AdvanceTo(std::uint64_t byte)
{
    Walk(byte);
    while (m_byte + m_at < byte && !(m_isAtEnd && m_at == m_size) && Fill()) {
        Walk(byte);
    }
}

void ByteWalk::Finish()
{
    AdvanceTo(std::numeric_limits<std::uint64_t>::max());
    ReportRun();
}

} // namespace Orvane::Import
