// The texts and patterns that the whole plug-in shares.
#pragma once

#include <Orvane/BString.h>

#include <QRegularExpression>
#include <QString>

/// Read-only values, built on first use.
namespace AsciiReader::Constants {

/// Matches a comma, tab or blank with an even number of double quotes behind it in the line.
const QRegularExpression& CommaSplit();
const QRegularExpression& TabSplit();
const QRegularExpression& SpaceSplit();

/// The split pattern with "%1" in the separator's place.
const QString& SeparatorTemplate();

// Option keys that belong to this plug-in alone.

/// "SCHEMA_SAMPLE_SIZE": data lines sampled for schema inference.
const Orvane::BString& SampleSizeKey();
/// "CODEC": name of the file's text codec.
const Orvane::BString& CodecKey();
/// "CODECFORLOCALE": presence selects the locale's codec.
const Orvane::BString& LocaleCodecKey();

/// Lines sampled when SCHEMA_SAMPLE_SIZE is absent.
inline constexpr int kDefaultSampleSize = 5;

} // namespace AsciiReader::Constants
