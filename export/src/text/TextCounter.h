// Counts rows and points in the bytes of text formats.
#pragma once

#include "../CountWritten.h"

#include <Orvane/Import/Target.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace Orvane::Import {

/// Counts the rows of one text, piece by piece. Knows nothing of how the text was made.
class TextCounter
{
public:
    TextCounter() = default;
    virtual ~TextCounter();
    TextCounter(const TextCounter&) = delete;
    TextCounter& operator=(const TextCounter&) = delete;

    /// The next bytes of the text; a piece may end anywhere. @throws as GetCounts
    virtual void Consume(std::string_view bytes) = 0;

    /// The counts of the whole text. @throws std::runtime_error when the text is cut short or is no
    /// text of the format, with the reason as what()
    [[nodiscard]] virtual TargetCounts GetCounts() const = 0;

    [[nodiscard]] virtual std::uint64_t CountRowsSoFar() const noexcept = 0;
};

/// The counter of a text format; null for a format of another kind.
[[nodiscard]] std::unique_ptr<TextCounter> MakeTextCounter(const ExportFormat& format,
                                                           const WrittenShape& shape);

/// Counts the records of a CSV text; a point is a record whose X and Y both have a text.
class CsvCounter : public TextCounter
{
public:
    explicit CsvCounter(const WrittenShape& shape)
        : m_shape(shape)
        , m_isNames(shape.hasNames)
    {}

    ~CsvCounter() override;

    void Consume(std::string_view bytes) override;
    [[nodiscard]] TargetCounts GetCounts() const override;

    [[nodiscard]] std::uint64_t CountRowsSoFar() const noexcept override { return m_counts.rows; }

private:
    void EndField() noexcept;
    void EndRecord() noexcept;

    WrittenShape m_shape;
    bool m_isNames;
    bool m_isQuoted = false;
    bool m_isInRecord = false;
    bool m_hasText = false;
    std::size_t m_field = 0;
    std::size_t m_texts = 0; ///< of X and Y
    TargetCounts m_counts;
};

/// Counts the features of GeoJSON texts; a point is a feature whose member "geometry" is an object.
class JsonCounter : public TextCounter
{
public:
    /// @param isSequence features stand for themselves; else in the array "features" of an object
    explicit JsonCounter(bool isSequence)
        : m_featureDepth(isSequence ? 1 : 3)
    {}

    ~JsonCounter() override;

    void Consume(std::string_view bytes) override;
    [[nodiscard]] TargetCounts GetCounts() const override;

    [[nodiscard]] std::uint64_t CountRowsSoFar() const noexcept override { return m_counts.rows; }

private:
    /// Consumes bytes inside of a member of a feature, up to the member's end or to bytes that must
    /// be looked at one by one. @return where it goes on
    std::size_t SkipInside(std::string_view bytes, std::size_t at);
    /// Consumes of a text what is there. @return where it goes on
    std::size_t ConsumeInText(std::string_view bytes, std::size_t at);
    void EndText();
    void Open(char byte);
    void Close(char byte);

    static constexpr std::size_t kDepths = 16; ///< deeper brackets are counted, not compared
    static constexpr std::size_t kKeyBytes = 16;
    static constexpr std::size_t kBlockBytes = 64;

    std::size_t m_featureDepth;
    std::size_t m_depth = 0;
    std::array<char, kDepths> m_open{};
    bool m_isInText = false;
    bool m_isEscaped = false;
    bool m_isKey = false; ///< the next text is a member's name
    bool m_isFeatures = false;
    bool m_isInFeature = false;
    bool m_isGeometry = false;
    std::string m_text; ///< the beginning of a member's name
    TargetCounts m_counts;
};

} // namespace Orvane::Import
