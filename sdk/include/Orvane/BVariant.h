// One typed value: an option, or an attribute of a feature.
#pragma once

#include <Orvane/BString.h>
#include <Orvane/Export.h>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <variant>
#include <vector>

namespace Orvane {

/// The type codes of values and attribute columns. The numbers are part of the interface: they
/// stand in option lists and in files. Numbers without a name are accepted wherever a code is
/// stored and mean "carried as text".
enum class EVariantType : std::int32_t {
    None = 0,      ///< no value, no type yet
    Int32 = 5,     ///< 32-bit signed integer
    Int64 = 7,     ///< 64-bit signed integer
    Double = 9,    ///< 64-bit floating point
    Float = 10,    ///< 32-bit floating point
    String = 11,   ///< text
    Text = 12,     ///< text of a second kind, whose width stays as defined
    Boolean = 13,  ///< true or false
    Strings = 14,  ///< list of texts
    Integers = 15, ///< list of 32-bit signed integers
    // The following are types of columns alone: a value of theirs is a String.
    Date = 16,    ///< day as ISO 8601 text: "2018-01-28"
    Time = 17,    ///< time of day as ISO 8601 text: "13:03:22", "13:03:22.836"
    DateTime = 18 ///< both, with or without a zone: "2018-01-28T13:03:22", "...Z", "...+02:00"
};

/// One value of one of the types above.
///
/// The getters convert: text to a number as `atoi` or `atof` (C locale), number to boolean as
/// "not 0", text to boolean as its integer "not 0", boolean to number as 0 or 1, number to its
/// shortest exact decimal text, boolean to "1" or "0". A number outside the range of the wanted
/// integer, or NaN, gives 0; fractions are cut off. A list gives 0, false or the empty text as a
/// scalar; a scalar gives the list of itself, converted; None gives 0, false, the empty text or the
/// empty list.
class ORVANE_SDK_EXPORT BVariant
{
public:
    BVariant() noexcept = default;

    template <typename T>
    explicit BVariant(const T& value)
    {
        SetValue(value);
    }

    [[nodiscard]] EVariantType GetType() const noexcept
    {
        // In the order of the alternatives.
        constexpr EVariantType kTypes[] = {EVariantType::None,
                                           EVariantType::Int32,
                                           EVariantType::Int64,
                                           EVariantType::Double,
                                           EVariantType::Float,
                                           EVariantType::Boolean,
                                           EVariantType::String,
                                           EVariantType::Strings,
                                           EVariantType::Integers};
        return kTypes[m_value.index()];
    }

    [[nodiscard]] bool IsEmpty() const noexcept { return GetType() == EVariantType::None; }

    /// Back to None.
    void Clear() noexcept { m_value = std::monostate(); }

    void SetValue(std::int32_t value) noexcept { m_value = value; }

    void SetValue(std::int64_t value) noexcept { m_value = value; }

    void SetValue(double value) noexcept { m_value = value; }

    void SetValue(float value) noexcept { m_value = value; }

    void SetValue(bool value) noexcept { m_value = value; }

    /// A text. `length` cuts it to that many code units; 0 keeps it whole.
    void SetValue(const BString& value, std::size_t length = 0);

    void SetValue(const char* utf8) { SetValue(BString(utf8)); }

    void SetValue(const char16_t* value) { SetValue(BString(value)); }

    void SetValue(std::vector<BString> value) { m_value = std::move(value); }

    void SetValue(std::vector<std::int32_t> value) { m_value = std::move(value); }

    [[nodiscard]] std::int32_t GetInteger() const;
    [[nodiscard]] std::int64_t GetInt64() const;

    [[nodiscard]] double GetDouble() const
    {
        const double* const value = std::get_if<double>(&m_value);
        return value != nullptr ? *value : ConvertToDouble();
    }

    [[nodiscard]] float GetFloat() const;
    [[nodiscard]] bool GetBoolean() const;
    [[nodiscard]] BString GetString() const;
    [[nodiscard]] std::vector<BString> GetStrings() const;
    [[nodiscard]] std::vector<std::int32_t> GetIntegers() const;

    /// Same type and same value; NaN equals NaN, so that values can be compared after a copy.
    friend ORVANE_SDK_EXPORT bool operator==(const BVariant& a, const BVariant& b) noexcept;

private:
    [[nodiscard]] double ConvertToDouble() const;

    std::variant<std::monostate,
                 std::int32_t,
                 std::int64_t,
                 double,
                 float,
                 bool,
                 BString,
                 std::vector<BString>,
                 std::vector<std::int32_t>>
        m_value;
};

} // namespace Orvane
