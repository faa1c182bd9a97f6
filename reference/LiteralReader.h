// A slow second reader of delimited point files that tests hold the product's reader against.
#pragma once

#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BProgress.h>

#include <QString>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

/// Carries out every rule of the reader one step after the other, with Qt's strings, regular
/// expressions and codecs and the C library's number conversions, one object per value. It shares
/// no code with the plug-in; of the SDK it uses options, values and exceptions only. Nothing here
/// is fast and nothing is shared between steps: what counts is that each rule can be read off.
namespace LiteralReader {

/// One column of a schema.
struct Definition
{
    QString name;
    int type = 0;
    int length = 0;
    int precision = 0;

    friend bool operator==(const Definition&, const Definition&) = default;
};

/// One attribute value: numbers and booleans in `number`, everything else in `text`.
struct Attribute
{
    QString name;
    int type = 0;
    QString text;
    double number = 0;
};

struct Feature
{
    QString name;
    bool hasPoint = false;
    bool hasZ = false;
    double x = 0; ///< coordinates after the multipliers, NaN when never set
    double y = 0;
    double z = 0;
    std::vector<Attribute> attributes;
};

struct Layer
{
    QString name;
    std::vector<Definition> schema;
    std::vector<Feature> features;
};

/// What a failed operation threw. For a class without texts only className and message are filled.
struct Failure
{
    QString className;
    QString location;
    QString message;
    QString details;

    friend bool operator==(const Failure&, const Failure&) = default;
};

/// Doubles are the same when all their bits are, or when both are NaN.
bool IsSameNumber(double a, double b);

/// The exception that is being handled, as texts; to be called in a catch block.
Failure DescribeCurrentException();

class Engine;

/// The reader as a host drives it.
///
/// Order of calls: construct, Open, then Read and Preview in any number and order, Close; Read may
/// also follow an Open that failed. Failures are the SDK's exceptions, or std::out_of_range.
class Reader
{
public:
    static constexpr std::size_t kBlockSize = 16777216;

    /// @param path file name as the caller writes it
    /// @param kept the options that the reader itself looks at
    /// @param blockSize bytes read at a time
    Reader(QString path, Orvane::BParamList kept, std::size_t blockSize = kBlockSize);
    ~Reader();
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    /// @param params the options that the engine gets
    void Open(const Orvane::BParamList& params);
    void Read();
    /// The answer to the query for columns.
    Orvane::BParamList Preview();
    void Close();

    /// Consulted once per row and once after the read; null for none. The caller keeps owning it.
    void SetProgress(Orvane::BProgress* progress) { m_progress = progress; }

    [[nodiscard]] bool IsOpen() const { return m_isOpen; }

    [[nodiscard]] bool HasEngine() const { return m_engine != nullptr; }

    [[nodiscard]] bool GetFailureFlag() const { return m_failureFlag; }

    [[nodiscard]] int GetStatus() const { return m_status; }

    /// Line number of the last row that was taken; 0 without an engine.
    [[nodiscard]] std::uint32_t GetRecordsRead() const;

    /// The layers of all openings so far.
    [[nodiscard]] const std::vector<std::shared_ptr<Layer>>& GetLayers() const { return m_layers; }

    /// The layer that the engine fills; null when there is none.
    [[nodiscard]] std::shared_ptr<Layer> GetEngineLayer() const;
    /// The engine's own copy of the schema, which holds the raised widths.
    [[nodiscard]] std::vector<Definition> GetEngineSchema() const;

private:
    void ConfigureSeparator();

    QString m_path;
    Orvane::BParamList m_kept;
    std::size_t m_blockSize;
    std::unique_ptr<Engine> m_engine;
    bool m_isOpen = false;
    bool m_failureFlag = false;
    int m_status = 0;
    Orvane::BProgress* m_progress = nullptr;
    std::vector<std::shared_ptr<Layer>> m_layers;
};

} // namespace LiteralReader
