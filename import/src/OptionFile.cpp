// Reads the option file event by event, so that neither size nor depth of a bad one matters.
#include <Orvane/BNumbers.h>
#include <Orvane/Import/DisplayText.h>
#include <Orvane/Import/Failure.h>
#include <Orvane/Import/Options.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <system_error>
#include <vector>

namespace Orvane::Import {

namespace {

constexpr std::size_t kLargestFile = std::size_t{16} * 1024 * 1024;

/// @param verdict what is wrong with the file, words after its name
[[noreturn]] void FailFile(const std::string& path, const std::string& verdict)
{
    FailureFields fields;
    fields.kind = EFailureKind::Request;
    fields.code = "option-file";
    fields.what = "The option file <" + DisplayText::Escape(path) + "> " + verdict + ".";
    fields.file = path;
    throw ImportFailure(std::move(fields));
}

std::string ReadWhole(const std::string& path)
{
    const auto fail = [&](const std::string& reason) {
        FailFile(path, "cannot be read: " + reason);
    };
    // Rule: a pipe that nobody writes to is empty; it is not waited for.
    const int descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor != -1) {
        fcntl(descriptor, F_SETFL, O_RDONLY);
    }
    const std::unique_ptr<std::FILE, decltype(&std::fclose)> file(
        descriptor == -1 ? nullptr : fdopen(descriptor, "rb"), &std::fclose);
    if (file == nullptr) {
        fail(std::generic_category().message(errno));
    }
    std::string text;
    std::vector<char> block(std::size_t{64} * 1024);
    for (;;) {
        const std::size_t count = std::fread(block.data(), 1, block.size(), file.get());
        text.append(block.data(), count);
        if (text.size() > kLargestFile) {
            fail("it is larger than 16 MiB");
        }
        if (count < block.size()) {
            break;
        }
    }
    if (std::ferror(file.get()) != 0) {
        fail(std::generic_category().message(errno));
    }
    return text;
}

/// Takes the parser's events; anything that is not an object of scalars and flat lists throws.
class OptionHandler : public nlohmann::json_sax<nlohmann::json>
{
public:
    OptionHandler(std::string path, Orvane::BParamList& params)
        : m_path(std::move(path))
        , m_params(params)
    {}

    bool null() override { FailValue("null"); }

    bool boolean(bool value) override { return TakeScalar(Orvane::BVariant(value)); }

    bool number_integer(number_integer_t value) override { return TakeInteger(value); }

    bool number_unsigned(number_unsigned_t value) override
    {
        constexpr auto kLargest = std::numeric_limits<std::int64_t>::max();
        if (value > static_cast<number_unsigned_t>(kLargest)) {
            FailValue("an integer beyond 64 bits");
        }
        return TakeInteger(static_cast<std::int64_t>(value));
    }

    bool number_float(number_float_t /*value*/, const string_t& digits) override
    {
        // The parser turns integers that are too long for it into floating point.
        if (digits.find_first_of(".eE") == std::string::npos) {
            FailValue("an integer beyond 64 bits");
        }
        return TakeScalar(Orvane::BVariant(Orvane::BNumbers::Strtod(digits)));
    }

    bool string(string_t& value) override
    {
        if (m_list) {
            m_list->texts.push_back(Orvane::BString::FromUtf8(value));
            return true;
        }
        return TakeScalar(Orvane::BVariant(Orvane::BString::FromUtf8(value)));
    }

    bool binary(binary_t& /*value*/) override { FailValue("binary data"); }

    bool start_object(std::size_t /*count*/) override
    {
        if (m_isInObject) {
            FailValue("an object");
        }
        m_isInObject = true;
        return true;
    }

    bool end_object() override { return true; }

    bool key(string_t& key) override
    {
        m_option = &FindReaderOption(key);
        if (m_params.HasProperty(m_option->key)) {
            Fail("the option " + key + " stands in it twice");
        }
        return true;
    }

    bool start_array(std::size_t /*count*/) override
    {
        if (m_list) {
            FailValue("a list in a list");
        }
        RequireOption();
        m_list.emplace();
        return true;
    }

    bool end_array() override
    {
        const List list = std::move(*m_list);
        m_list.reset();
        if (!list.texts.empty() && !list.integers.empty()) {
            FailValue("a list of texts and integers mixed");
        }
        const EOptionKind kind = m_option->kind;
        if (!IsListKind(kind) && kind != EOptionKind::Presence) {
            FailValue("a list");
        }
        const bool isEmpty = list.texts.empty() && list.integers.empty();
        const bool isOfIntegers = isEmpty ? kind == EOptionKind::Integers : list.texts.empty();
        if (kind != EOptionKind::Presence && isOfIntegers != (kind == EOptionKind::Integers)) {
            FailValue(isOfIntegers ? "a list of integers" : "a list of texts");
        }
        if (isOfIntegers) {
            m_params.Add(m_option->key, list.integers);
        } else {
            m_params.Add(m_option->key, list.texts);
        }
        return true;
    }

    bool parse_error(std::size_t position,
                     const std::string& /*token*/,
                     const nlohmann::json::exception& /*exception*/) override
    {
        Fail("it is no JSON, or holds a number out of range, at byte " + std::to_string(position));
    }

private:
    struct List
    {
        std::vector<Orvane::BString> texts;
        std::vector<std::int32_t> integers;
    };

    [[noreturn]] void Fail(const std::string& reason) const
    {
        FailFile(m_path, "is not valid: " + DisplayText::Escape(reason));
    }

    [[noreturn]] void FailValue(const std::string& found) const
    {
        if (m_option == nullptr) {
            Fail("it must hold one object of options");
        }
        Fail("the option " + m_option->key.ToUtf8() + " needs a value of the type " +
             NameOfKind(m_option->kind) + ", not " + found);
    }

    void RequireOption() const
    {
        if (!m_isInObject) {
            Fail("it must hold one object of options");
        }
    }

    bool TakeInteger(std::int64_t value)
    {
        const bool fits32 = value >= std::numeric_limits<std::int32_t>::min() &&
                            value <= std::numeric_limits<std::int32_t>::max();
        if (m_list) {
            if (!fits32) {
                FailValue("a list with an integer beyond 32 bits");
            }
            m_list->integers.push_back(static_cast<std::int32_t>(value));
            return true;
        }
        return TakeScalar(fits32 ? Orvane::BVariant(static_cast<std::int32_t>(value))
                                 : Orvane::BVariant(value));
    }

    bool TakeScalar(Orvane::BVariant value)
    {
        if (m_list) {
            FailValue("a list of other values");
        }
        RequireOption();
        if (IsListKind(m_option->kind)) {
            FailValue("one value");
        }
        m_params.Add(m_option->key, std::move(value));
        return true;
    }

    std::string m_path;
    Orvane::BParamList& m_params;
    const ReaderOption* m_option = nullptr;
    std::optional<List> m_list;
    bool m_isInObject = false;
};

} // namespace

Orvane::BParamList ReadOptionFile(const std::string& path)
{
    const std::string text = ReadWhole(path);
    Orvane::BParamList params;
    OptionHandler handler(path, params);
    nlohmann::json::sax_parse(text, &handler);
    return params;
}

} // namespace Orvane::Import
