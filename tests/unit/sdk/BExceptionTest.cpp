// Tests of the exceptions and the checked access.
#include <Orvane/BException.h>

#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace {

using namespace std::string_view_literals;
using Orvane::BException;
using Orvane::BString;

TEST(BException, KeepsItsArgumentsInTheOrderGiven)
{
    const BException failure("the message", "the location", "the details");
    EXPECT_EQ(failure.GetMessage(), BString("the message"));
    EXPECT_EQ(failure.GetLocation(), BString("the location"));
    EXPECT_EQ(failure.GetDetails(), BString("the details"));
    EXPECT_STREQ(failure.what(), "the message");
    EXPECT_STREQ(failure.GetClassName(), "BException");
}

TEST(BException, HasEmptyDetailsUnlessGiven)
{
    EXPECT_TRUE(BException("message", "location").GetDetails().IsEmpty());
}

TEST(BException, GivesItsMessageInUtf8)
{
    EXPECT_STREQ(BException(u"Größe €\xD800"sv, "").what(),
                 "Gr\xC3\xB6\xC3\x9F"
                 "e \xE2\x82\xAC\xEF\xBF\xBD");
}

TEST(BException, KeepsItsTextsInACopyThatOutlivesIt)
{
    const auto copyOfATemporary = [] {
        const BException failure("message", "location", "details");
        return BException(failure);
    };
    const BException copy = copyOfATemporary();
    EXPECT_STREQ(copy.what(), "message");
    EXPECT_EQ(copy.GetDetails(), BString("details"));
    static_assert(std::is_nothrow_copy_constructible_v<BException>);
}

template <typename Subclass>
class BExceptionSubclass : public testing::Test
{};

template <typename Subclass>
const char* NameOf();

template <>
const char* NameOf<Orvane::BFileNotFoundException>()
{
    return "BFileNotFoundException";
}

template <>
const char* NameOf<Orvane::BFileContentNotValidException>()
{
    return "BFileContentNotValidException";
}

template <>
const char* NameOf<Orvane::BIndexOutOfBoundsException>()
{
    return "BIndexOutOfBoundsException";
}

template <>
const char* NameOf<Orvane::BDataManagerException>()
{
    return "BDataManagerException";
}

template <>
const char* NameOf<Orvane::BKelvaCoordinateFormatException>()
{
    return "BKelvaCoordinateFormatException";
}

using Subclasses = testing::Types<Orvane::BFileNotFoundException,
                                  Orvane::BFileContentNotValidException,
                                  Orvane::BIndexOutOfBoundsException,
                                  Orvane::BDataManagerException,
                                  Orvane::BKelvaCoordinateFormatException>;
TYPED_TEST_SUITE(BExceptionSubclass, Subclasses, );

TYPED_TEST(BExceptionSubclass, GivesItsDetailsAsTheMessage)
{
    const TypeParam failure("the location", u"the détails"sv);
    EXPECT_EQ(failure.GetLocation(), BString("the location"));
    EXPECT_EQ(failure.GetMessage(), BString(u"the détails"sv));
    EXPECT_EQ(failure.GetDetails(), BString(u"the détails"sv));
    EXPECT_STREQ(failure.what(), "the d\xC3\xA9tails");
    EXPECT_STREQ(failure.GetClassName(), NameOf<TypeParam>());
}

TYPED_TEST(BExceptionSubclass, IsCaughtByItsBases)
{
    EXPECT_THROW(throw TypeParam("location", "details"), BException);
    EXPECT_THROW(throw TypeParam("location", "details"), std::exception);
    EXPECT_THROW(throw TypeParam("location", "details"), TypeParam);
}

TEST(CheckedAt, GivesTheElement)
{
    std::vector<int> list = {1, 2};
    Orvane::CheckedAt(list, 1) = 5;
    EXPECT_EQ(list, (std::vector<int>{1, 5}));
}

TEST(CheckedAt, RefusesAnIndexThatIsNotBelowTheCount)
{
    const auto messageAt = [](std::size_t index, std::size_t count) -> std::string {
        try {
            Orvane::CheckSubscript(index, count);
        } catch (const std::out_of_range& failure) {
            return failure.what();
        }
        return "nothing thrown";
    };
    EXPECT_EQ(messageAt(1, 2), "nothing thrown");
    EXPECT_EQ(messageAt(2, 2), "invalid vector subscript");
    EXPECT_EQ(messageAt(0, 0), "invalid vector subscript");
    EXPECT_EQ(messageAt(static_cast<std::size_t>(-1), 2), "invalid vector subscript");
    const std::vector<int> empty;
    EXPECT_THROW(static_cast<void>(Orvane::CheckedAt(empty, 0)), std::out_of_range);
}

} // namespace
