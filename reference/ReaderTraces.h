// Runs the product's and the literal reader on the same case and tells where they differ.
#pragma once

#include "LiteralReader.h"
#include "RandomFiles.h"

#include <Orvane/BString.h>
#include <Orvane/BVectorLayer.h>

#include <QString>

#include <cstddef>
#include <string>
#include <vector>

namespace ReaderTraces {

/// Everything that a run let its host see, one fact per line.
using Trace = std::vector<std::string>;

/// Who reads.
enum class EReader {
    Literal,        ///< the literal reader
    GuardedLiteral, ///< the same under the SDK's test, which lets no reader read that is not open
    Engine,         ///< the plug-in's engine alone, driven as the reader drives it
    Plugin          ///< the plug-in's reader; it does not show its engine
};

/// Opens the file at `path`, performs the steps of the case, and takes down what shows.
/// @param blockSize bytes read at a time; the plug-in's reader has its own
Trace Perform(EReader reader,
              const QString& path,
              const RandomFiles::Case& input,
              std::size_t blockSize);

/// The trace without the facts that only the engine shows.
Trace WithoutEngine(Trace trace);

/// The first line that differs, with a few lines before it; empty when none does.
std::string FirstDifference(const Trace& expected, const Trace& actual);

/// Name, schema and features of a layer, each line beginning with `title`; null is none.
void DescribeLayer(const std::string& title, Orvane::BVectorLayer* layer, Trace& trace);
void DescribeLayer(const std::string& title, const LiteralReader::Layer* layer, Trace& trace);

/// One feature: name, point, box and values.
void DescribeFeature(const std::string& head, const Orvane::BFeature& feature, Trace& trace);
void DescribeFeature(const std::string& head, const LiteralReader::Feature& feature, Trace& trace);

/// A text in quotes, all units but printable ASCII as \uXXXX.
std::string Quoted(const QString& text);
std::string Quoted(const Orvane::BString& text);

/// All bits of a double, NaN aside.
std::string Bits(double value);

/// One column: name, type, length and precision.
std::string DescribeDefinition(const Orvane::BString& name, int type, int length, int precision);

/// Class and texts of a failure in one line.
std::string DescribeFailure(const LiteralReader::Failure& failure);

} // namespace ReaderTraces
