// Fields of failures, and the texts of other exceptions.
#include <Orvane/BException.h>
#include <Orvane/Import/DisplayText.h>
#include <Orvane/Import/Failure.h>

#include <cstdlib>
#include <typeinfo>
#include <utility>

#if defined(__GNUC__)
#include <cxxabi.h>
#endif

namespace Orvane::Import {

namespace {

std::string TypeName(const std::exception& exception)
{
    const char* name = typeid(exception).name();
#if defined(__GNUC__)
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> demangled(
        abi::__cxa_demangle(name, nullptr, nullptr, &status), &std::free);
    if (status == 0 && demangled != nullptr) {
        return demangled.get();
    }
#endif
    return name;
}

std::string MakeLine(const FailureFields& fields)
{
    std::string line;
    if (!fields.file.empty()) {
        line = DisplayText::Escape(fields.file) + ":";
        for (const std::uint64_t number : {fields.line, fields.line == 0 ? 0 : fields.column}) {
            line += number == 0 ? "" : std::to_string(number) + ":";
        }
    }
    for (const std::string* text : {&fields.what, &fields.cause, &fields.advice}) {
        line += text->empty() || line.empty() ? "" : " ";
        line += DisplayText::Escape(*text);
    }
    return line;
}

} // namespace

struct ImportFailure::Content
{
    FailureFields fields;
    std::string line;
};

ImportFailure::ImportFailure(FailureFields fields)
{
    std::string line = MakeLine(fields);
    m_content = std::make_shared<const Content>(Content{std::move(fields), std::move(line)});
}

ImportFailure::ImportFailure(const ImportFailure&) noexcept = default;
ImportFailure& ImportFailure::operator=(const ImportFailure&) noexcept = default;
ImportFailure::~ImportFailure() = default;

const FailureFields& ImportFailure::GetFields() const noexcept
{
    return m_content->fields;
}

const char* ImportFailure::what() const noexcept
{
    return m_content->line.c_str();
}

UnderlyingTexts DescribeException(const std::exception& exception)
{
    UnderlyingTexts texts;
    const auto* sdkException = dynamic_cast<const BException*>(&exception);
    if (sdkException == nullptr) {
        texts.className = TypeName(exception);
        texts.message = BString::FromUtf8(exception.what());
        return texts;
    }
    texts.className = sdkException->GetClassName();
    texts.location = sdkException->GetLocation();
    texts.message = sdkException->GetMessage();
    if (texts.className == "BException") {
        texts.details = sdkException->GetDetails();
    }
    return texts;
}

} // namespace Orvane::Import
