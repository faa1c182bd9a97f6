// Temporary files, option lists and expectations that the unit tests share.
#include "support/TestFiles.h"

#include <Orvane/BFeature.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/Constants.h>

#include <charconv>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <typeinfo>

#if defined(__SANITIZE_ADDRESS__)
#define ORVANE_TEST_LEAK_CHECK 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ORVANE_TEST_LEAK_CHECK 1
#endif
#endif

#ifdef ORVANE_TEST_LEAK_CHECK
#include <sanitizer/lsan_interface.h>
#endif

namespace Orvane {

void PrintTo(const BString& text, std::ostream* stream)
{
    *stream << testing::PrintToString(text.ToUtf8());
}

void PrintTo(const BVariant& value, std::ostream* stream)
{
    *stream << TestSupport::Describe(value);
}

void PrintTo(EVariantType type, std::ostream* stream)
{
    *stream << "type " << static_cast<int>(type);
}

} // namespace Orvane

namespace TestSupport {

namespace {

std::string Shortest(double value)
{
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

std::string Shortest(float value)
{
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

} // namespace

TemporaryFolder::TemporaryFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "orvaneXXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no temporary folder can be made");
    }
    m_path = pattern;
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

BString TemporaryFolder::Name(std::string_view name) const
{
    return BString((m_path / std::string(name)).string());
}

BString TemporaryFolder::File(std::string_view name, std::string_view bytes) const
{
    const std::filesystem::path path = m_path / std::string(name);
    std::ofstream stream(path, std::ios::binary);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream) {
        throw std::runtime_error("the file can't be written: " + path.string());
    }
    return BString(path.string());
}

Options& Options::XY(std::int32_t xIndex, std::int32_t yIndex)
{
    return Set(Orvane::X_COLUMN, xIndex).Set(Orvane::Y_COLUMN, yIndex);
}

Options& Options::XYZ(std::int32_t xIndex, std::int32_t yIndex, std::int32_t zIndex)
{
    return XY(xIndex, yIndex).Set(Orvane::Z_COLUMN, zIndex);
}

Options& Options::Names()
{
    return Set(Orvane::FIRST_LINE_COLUMN_NAMES, true);
}

Failure CatchFailure(const std::function<void()>& action)
{
    Failure failure;
    try {
        action();
    } catch (const Orvane::BException& error) {
        failure.className = error.GetClassName();
        failure.message = error.GetMessage();
        failure.location = error.GetLocation();
        failure.details = error.GetDetails();
        failure.what = error.what();
        const bool isPlain = typeid(error) == typeid(Orvane::BException);
        if (isPlain != (failure.className == "BException")) {
            failure.className += " (of another class)";
        }
    } catch (const std::out_of_range& error) {
        failure.className = "std::out_of_range";
        failure.what = error.what();
    } catch (const std::exception& error) {
        failure.className = typeid(error).name();
        failure.what = error.what();
    }
    return failure;
}

void ExpectBException(const std::function<void()>& action,
                      const BString& message,
                      const BString& location,
                      const BString& details)
{
    const Failure failure = CatchFailure(action);
    EXPECT_EQ(failure.className, "BException");
    EXPECT_EQ(failure.message, message);
    EXPECT_EQ(failure.location, location);
    EXPECT_EQ(failure.details, details);
    EXPECT_EQ(failure.what, message.ToUtf8());
}

void ExpectSubclass(const std::function<void()>& action,
                    std::string_view className,
                    const BString& location,
                    const BString& details)
{
    const Failure failure = CatchFailure(action);
    EXPECT_EQ(failure.className, className);
    EXPECT_EQ(failure.message, details);
    EXPECT_EQ(failure.location, location);
    EXPECT_EQ(failure.details, details);
    EXPECT_EQ(failure.what, details.ToUtf8());
}

void ExpectInvalidSubscript(const std::function<void()>& action)
{
    const Failure failure = CatchFailure(action);
    EXPECT_EQ(failure.className, "std::out_of_range");
    EXPECT_EQ(failure.what, "invalid vector subscript");
}

std::string Describe(const Orvane::BAttributeDef& def)
{
    return def.GetName().ToUtf8() + ":" + std::to_string(static_cast<int>(def.GetType())) + ":" +
           std::to_string(def.GetLength()) + ":" + std::to_string(def.GetPrecision());
}

std::vector<std::string> Describe(const Orvane::BAttributeDefs& schema)
{
    std::vector<std::string> result;
    for (std::size_t i = 0; i < schema.GetCount(); ++i) {
        result.push_back(Describe(schema.GetAt(i)));
    }
    return result;
}

std::string Describe(const Orvane::BVariant& value)
{
    using Orvane::EVariantType;
    const std::string prefix = std::to_string(static_cast<int>(value.GetType())) + ":";
    switch (value.GetType()) {
    case EVariantType::None:
        return prefix;
    case EVariantType::Int32:
        return prefix + std::to_string(value.GetInteger());
    case EVariantType::Int64:
        return prefix + std::to_string(value.GetInt64());
    case EVariantType::Double:
        return prefix + Shortest(value.GetDouble());
    case EVariantType::Float:
        return prefix + Shortest(value.GetFloat());
    case EVariantType::Boolean:
        return prefix + (value.GetBoolean() ? "true" : "false");
    case EVariantType::Strings: {
        std::string result = prefix;
        for (const BString& text : value.GetStrings()) {
            result += "[" + text.ToUtf8() + "]";
        }
        return result;
    }
    case EVariantType::Integers: {
        std::string result = prefix;
        for (const std::int32_t number : value.GetIntegers()) {
            result += "[" + std::to_string(number) + "]";
        }
        return result;
    }
    case EVariantType::String:
    case EVariantType::Text:
    case EVariantType::Date:
    case EVariantType::Time:
    case EVariantType::DateTime:
        break;
    }
    return prefix + value.GetString().ToUtf8();
}

std::string Describe(const Orvane::BFeature& feature)
{
    std::string result = feature.GetName().ToUtf8() + " (";
    const Orvane::BPointGeo* point = feature.GetPoint();
    if (point == nullptr) {
        result += "-";
    } else {
        result += Shortest(point->GetX()) + " " + Shortest(point->GetY());
        if (point->HasZ()) {
            result += " " + Shortest(point->GetZ());
        }
    }
    result += ")";
    const Orvane::BAttributes& attributes = feature.GetAttributes();
    for (std::size_t i = 0; i < attributes.GetCount(); ++i) {
        result += " " + attributes.GetNameAt(i).ToUtf8() + "=" + Describe(attributes.GetValueAt(i));
    }
    return result;
}

std::vector<std::string> Describe(Orvane::BVectorLayer& layer)
{
    std::vector<std::string> result;
    for (std::size_t row = 0; row < layer.GetFeatures().GetCount(); ++row) {
        result.push_back(Describe(*layer.GetFeatures().GetAt(row)));
    }
    return result;
}

std::vector<std::string> FeatureNames(Orvane::BVectorLayer& layer)
{
    std::vector<std::string> result;
    for (std::size_t row = 0; row < layer.GetFeatures().GetCount(); ++row) {
        result.push_back(layer.GetFeatures().GetAt(row)->GetName().ToUtf8());
    }
    return result;
}

std::size_t CountOpenDescriptors(const BString& path)
{
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const std::filesystem::path target = std::filesystem::read_symlink(entry.path(), gone);
        if (!gone && target.string() == path.ToUtf8()) {
            ++count;
        }
    }
    return count;
}

bool NotingProgress::ShouldReport(unsigned done, unsigned total)
{
    questions.emplace_back(done, total);
    return wantsReports;
}

bool NotingProgress::Report(unsigned done, unsigned total)
{
    reports.emplace_back(done, total);
    return reports.size() != refusedReport;
}

#ifdef ORVANE_TEST_LEAK_CHECK

LeaksByRule::LeaksByRule()
{
    __lsan_disable();
}

LeaksByRule::~LeaksByRule()
{
    __lsan_enable();
}

#else

LeaksByRule::LeaksByRule() = default;
LeaksByRule::~LeaksByRule() = default;

#endif

} // namespace TestSupport
