// Counts of text formats, whatever pieces their bytes come in.
#include "text/TextCounter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>

namespace {

using Orvane::Import::JsonCounter;
using Orvane::Import::TargetCounts;

/// Rows and points, or the failure's words. @param pieceBytes of each piece; 0: all at once
std::string Count(std::string_view text, bool isSequence, std::size_t pieceBytes)
{
    try {
        JsonCounter counter(isSequence);
        const std::size_t step = pieceBytes == 0 ? text.size() + 1 : pieceBytes;
        for (std::size_t at = 0; at < text.size(); at += step) {
            counter.Consume(text.substr(at, step));
        }
        const TargetCounts counts = counter.GetCounts();
        return std::to_string(counts.rows) + " " + std::to_string(counts.points);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

/// A value of a property, of any length and with all that is odd in it.
std::string AnyValue(std::mt19937& dice)
{
    switch (dice() % 6) {
    case 0:
        return "null";
    case 1:
        return std::to_string(static_cast<int>(dice()));
    case 2:
        return "{\"geometry\":{\"a\":[1,[2]]},\"b\":[]}";
    default:
        break;
    }
    static constexpr std::string_view kPieces[] = {
        "a", "{", "}", "[", "]", ",", ":", "\\\"", "\\\\", "geometry", "plain text of some length"};
    std::string text = "\"";
    for (std::size_t count = dice() % 12; count > 0; --count) {
        text += kPieces[dice() % std::size(kPieces)];
    }
    return text + "\"";
}

std::string AnyFeature(std::mt19937& dice, std::size_t& points)
{
    std::string properties;
    for (std::size_t number = dice() % 8; number > 0; --number) {
        properties +=
            (properties.empty() ? "\"" : ",\"") + std::string(number, 'k') + "\":" + AnyValue(dice);
    }
    const bool hasPoint = dice() % 3 != 0;
    points += hasPoint ? 1 : 0;
    const std::string geometry =
        "\"geometry\":" +
        std::string(hasPoint ? "{\"type\":\"Point\",\"coordinates\":[1,2]}" : "null");
    const std::string attributes = "\"properties\":{" + properties + "}";
    const bool isFirst = dice() % 2 == 0;
    return "{\"type\":\"Feature\"," +
           (isFirst ? geometry + "," + attributes : attributes + "," + geometry) + "}";
}

TEST(JsonCounter, CountsFeaturesAndPointsInPiecesOfAnySize)
{
    std::mt19937 dice(3);
    for (int turn = 0; turn < 300; ++turn) {
        const std::size_t rows = dice() % 30;
        std::size_t points = 0;
        std::string sequence;
        std::string collection;
        for (std::size_t row = 0; row < rows; ++row) {
            const std::string feature = AnyFeature(dice, points);
            sequence += feature + "\n";
            collection += (row == 0 ? "" : ",\n") + feature;
        }
        collection =
            "{\"type\":\"FeatureCollection\",\"name\":\"a\",\"features\":[" + collection + "]}";
        const std::string expected = std::to_string(rows) + " " + std::to_string(points);
        for (const std::size_t pieceBytes : {0U, 1U, 63U, 64U, 200U}) {
            ASSERT_EQ(Count(sequence, true, pieceBytes), expected) << sequence;
            ASSERT_EQ(Count(collection, false, pieceBytes), expected) << collection;
        }
    }
}

TEST(JsonCounter, TreatsBrokenTextsAlikeInPiecesOfAnySize)
{
    std::mt19937 dice(4);
    std::size_t failures = 0;
    for (int turn = 0; turn < 2000; ++turn) {
        std::size_t points = 0;
        std::string text;
        for (int row = 0; row < 5; ++row) {
            text += AnyFeature(dice, points) + "\n";
        }
        // A byte is lost, doubled or replaced, or the end is missing.
        const std::size_t at = dice() % text.size();
        static constexpr std::string_view kOthers = "\"{}[]\\:,x";
        switch (dice() % 3) {
        case 0:
            text.erase(at, 1);
            break;
        case 1:
            text[at] = kOthers[dice() % kOthers.size()];
            break;
        default:
            text.resize(at);
        }
        const std::string expected = Count(text, true, 1);
        failures += expected.starts_with("The ") ? 1 : 0;
        for (const std::size_t pieceBytes : {0U, 64U, 100U}) {
            ASSERT_EQ(Count(text, true, pieceBytes), expected) << text;
        }
    }
    EXPECT_GT(failures, 500U);
}

} // namespace
