// Typed values and their conversions.
#include <Orvane/BNumbers.h>
#include <Orvane/BVariant.h>

#include <array>
#include <cmath>
#include <limits>
#include <string_view>
#include <type_traits>

namespace Orvane {

namespace {

using Strings = std::vector<BString>;
using Integers = std::vector<std::int32_t>;

template <typename... Visitors>
struct Overloaded : Visitors...
{
    using Visitors::operator()...;
};

template <typename... Visitors>
Overloaded(Visitors...) -> Overloaded<Visitors...>;

template <typename Wanted>
Wanted CutToInteger(double value) noexcept
{
    // The lowest integer and the highest plus one are powers of two: exact as doubles.
    constexpr auto kLowest = static_cast<double>(std::numeric_limits<Wanted>::min());
    const double whole = std::trunc(value);
    return whole >= kLowest && whole < -kLowest ? static_cast<Wanted>(whole) : Wanted(0);
}

std::int32_t NarrowToInt32(std::int64_t value) noexcept
{
    const auto narrow = static_cast<std::int32_t>(value);
    return narrow == value ? narrow : 0;
}

template <typename Real>
BString RealText(Real value)
{
    std::array<char, 32> buffer;
    const std::size_t length = BNumbers::FormatShortest(value, buffer.data());
    return BString::FromLatin1(std::string_view(buffer.data(), length));
}

template <typename Real>
bool SameReal(Real a, Real b) noexcept
{
    return (std::isnan(a) && std::isnan(b)) || !(a < b || b < a || std::isnan(a) || std::isnan(b));
}

} // namespace

void BVariant::SetValue(const BString& value, std::size_t length)
{
    m_value = length == 0 ? value : value.Left(length);
}

std::int32_t BVariant::GetInteger() const
{
    return std::visit(
        Overloaded{[](std::int32_t value) { return value; },
                   [](std::int64_t value) { return NarrowToInt32(value); },
                   [](double value) { return CutToInteger<std::int32_t>(value); },
                   [](float value) { return CutToInteger<std::int32_t>(double{value}); },
                   [](bool value) { return static_cast<std::int32_t>(value); },
                   [](const BString& value) { return BNumbers::Atoi(value.View()); },
                   [](const auto&) { return std::int32_t{0}; }},
        m_value);
}

std::int64_t BVariant::GetInt64() const
{
    return std::visit(
        Overloaded{[](std::int32_t value) { return std::int64_t{value}; },
                   [](std::int64_t value) { return value; },
                   [](double value) { return CutToInteger<std::int64_t>(value); },
                   [](float value) { return CutToInteger<std::int64_t>(double{value}); },
                   [](bool value) { return static_cast<std::int64_t>(value); },
                   [](const BString& value) { return BNumbers::Strtoll(value.Ascii()); },
                   [](const auto&) { return std::int64_t{0}; }},
        m_value);
}

double BVariant::ConvertToDouble() const
{
    return std::visit(Overloaded{[](std::int32_t value) { return static_cast<double>(value); },
                                 [](std::int64_t value) { return static_cast<double>(value); },
                                 [](double value) { return value; },
                                 [](float value) { return double{value}; },
                                 [](bool value) { return value ? 1.0 : 0.0; },
                                 [](const BString& value) { return BNumbers::Atof(value.View()); },
                                 [](const auto&) { return 0.0; }},
                      m_value);
}

float BVariant::GetFloat() const
{
    if (const auto* value = std::get_if<float>(&m_value)) {
        return *value;
    }
    if (const auto* value = std::get_if<std::int64_t>(&m_value)) {
        // Directly: by way of a double the value could be rounded twice.
        return static_cast<float>(*value);
    }
    return static_cast<float>(GetDouble());
}

bool BVariant::GetBoolean() const
{
    return std::visit(
        Overloaded{[](bool value) { return value; },
                   [](std::int32_t value) { return value != 0; },
                   [](std::int64_t value) { return value != 0; },
                   [](double value) { return std::fpclassify(value) != FP_ZERO; },
                   [](float value) { return std::fpclassify(value) != FP_ZERO; },
                   [](const BString& value) { return BNumbers::Atoi(value.View()) != 0; },
                   [](const auto&) { return false; }},
        m_value);
}

BString BVariant::GetString() const
{
    return std::visit(Overloaded{[](std::int32_t value) { return BString::FromInteger(value); },
                                 [](std::int64_t value) { return BString::FromInteger(value); },
                                 [](double value) { return RealText(value); },
                                 [](float value) { return RealText(value); },
                                 [](bool value) { return BString(value ? u"1" : u"0"); },
                                 [](const BString& value) { return value; },
                                 [](const auto&) { return BString(); }},
                      m_value);
}

std::vector<BString> BVariant::GetStrings() const
{
    return std::visit(Overloaded{[](std::monostate) { return Strings(); },
                                 [](const Strings& values) { return values; },
                                 [](const Integers& values) {
                                     Strings result;
                                     result.reserve(values.size());
                                     for (const std::int32_t value : values) {
                                         result.push_back(BString::FromInteger(value));
                                     }
                                     return result;
                                 },
                                 [this](const auto&) { return Strings{GetString()}; }},
                      m_value);
}

std::vector<std::int32_t> BVariant::GetIntegers() const
{
    return std::visit(Overloaded{[](std::monostate) { return Integers(); },
                                 [](const Integers& values) { return values; },
                                 [](const Strings& values) {
                                     Integers result;
                                     result.reserve(values.size());
                                     for (const BString& value : values) {
                                         result.push_back(BNumbers::Atoi(value.View()));
                                     }
                                     return result;
                                 },
                                 [this](const auto&) { return Integers{GetInteger()}; }},
                      m_value);
}

bool operator==(const BVariant& a, const BVariant& b) noexcept
{
    if (a.m_value.index() != b.m_value.index()) {
        return false;
    }
    if (const auto* value = std::get_if<double>(&a.m_value)) {
        return SameReal(*value, *std::get_if<double>(&b.m_value));
    }
    if (const auto* value = std::get_if<float>(&a.m_value)) {
        return SameReal(*value, *std::get_if<float>(&b.m_value));
    }
    return a.m_value == b.m_value;
}

} // namespace Orvane
