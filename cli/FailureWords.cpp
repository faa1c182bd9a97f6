// The words of failures, and the arguments that put them right.
#include "FailureWords.h"

#include "TerminalText.h"

#include <algorithm>

namespace OrvaneHost {

namespace {

using Orvane::Import::ColumnSample;
using Orvane::Import::EFailureKind;
using Orvane::Import::FailureFields;
using Orvane::Import::ImportFailure;
using Orvane::Import::UnderlyingTexts;

/// Most characters of one text in a failure's line.
constexpr std::size_t kMostCharacters = 1000;

/// For the line: a message may hold a whole line of the file.
std::string Show(const Orvane::BString& text)
{
    return TerminalText::EscapeAndCut(text, kMostCharacters);
}

std::string Cell(const std::string& text)
{
    constexpr std::size_t kWidest = 40;
    return TerminalText::EscapeAndCut(std::string_view(text), kWidest);
}

/// "--x" for "X".
std::string ArgumentOf(const std::string& axis)
{
    return axis == "X" ? "--x" : axis == "Y" ? "--y" : "--z";
}

std::string Quoted(const std::string& value)
{
    return "'" + TerminalText::Cut(TerminalText::Escape(value), 60) + "'";
}

/// The columns of a file as a table.
std::string ListColumns(const std::vector<ColumnSample>& columns)
{
    std::size_t nameWidth = 4;
    for (const ColumnSample& column : columns) {
        nameWidth = std::max(nameWidth, TerminalText::CountCharacters(Cell(column.name)));
    }
    std::string text;
    const auto addLine =
        [&](const std::string& index, const std::string& name, const std::string& value) {
            std::string line =
                "  " + TerminalText::Pad(index, 6) + TerminalText::Pad(name, nameWidth + 2) + value;
            line.erase(line.find_last_not_of(' ') + 1);
            text += line + "\n";
        };
    addLine("INDEX", "NAME", "FIRST VALUE");
    for (std::size_t index = 0; index < columns.size(); ++index) {
        addLine(std::to_string(index), Cell(columns[index].name), Cell(columns[index].firstValue));
    }
    return text;
}

/// The question back when the columns cannot be told.
std::string AskForColumns(const FailureFields& fields)
{
    const auto isMissing = [&](const char* axis) {
        return std::find(fields.missing.begin(), fields.missing.end(), axis) !=
               fields.missing.end();
    };
    const std::size_t known = fields.matches.empty() ? 0 : fields.matches[0];
    std::string text =
        "Which columns hold X and Y? They can not be told by the column names; give ";
    text += !isMissing("X") ? "--y" : !isMissing("Y") ? "--x" : "--x and --y";
    text += ", a name or an index, for example:\n  orvane import '" +
            TerminalText::Escape(fields.file) + "' --x " +
            std::to_string(isMissing("X") ? 0 : known) + " --y " +
            std::to_string(isMissing("Y") ? 1 : known) + "\n";
    text += "The columns of the file, by index:\n" + ListColumns(fields.columns);
    text += fields.hasColumnNames ? "The first line was taken for column names."
                                  : "The first line was taken for data.";
    text += fields.mayHaveSkippedHeader ? " The preview does not skip header lines." : "";
    return text;
}

std::string DescribeRequest(const ImportFailure& failure)
{
    const FailureFields& fields = failure.GetFields();
    const std::string column = ArgumentOf(fields.subject) + " " + Quoted(fields.value);
    if (failure.Is("unknown-option")) {
        std::string text = "There is no reader option " + Quoted(fields.value);
        if (fields.nearest.empty()) {
            return text + "; 'orvane options' lists them.";
        }
        for (const std::string& near : fields.nearest) {
            text += (&near == &fields.nearest.front() ? "; did you mean " : ", ") + near;
        }
        return text + "?";
    }
    if (failure.Is("columns-unknown")) {
        return AskForColumns(fields);
    }
    if (failure.Is("no-such-column")) {
        return "There is no column " + column + ".";
    }
    if (failure.Is("column-beyond")) {
        return "There is no column " + column + "; the file has " +
               std::to_string(fields.columns.size()) + " columns, counted from 0.";
    }
    if (failure.Is("column-ambiguous")) {
        return "The column " + column + " is not certain: columns " +
               std::to_string(fields.matches.at(0)) + " and " +
               std::to_string(fields.matches.at(1)) + " have that name; give its index.";
    }
    if (failure.Is("column-given-twice")) {
        return "Give " + ArgumentOf(fields.subject) + " or the option " + fields.value +
               ", not both.";
    }
    return TerminalText::Escape(fields.what);
}

} // namespace

int ExitStatusOf(const ImportFailure& failure)
{
    const bool isRefused = failure.GetKind() == EFailureKind::Request &&
                           failure.GetFields().underneath.className.empty();
    return isRefused ? kExitWrongArguments : kExitDataFailed;
}

UnderlyingTexts TextsOf(const ImportFailure& failure)
{
    if (failure.GetKind() == EFailureKind::Cancelled) {
        return {"BException", "orvane", "Interrupted; nothing was written.", {}};
    }
    const FailureFields& fields = failure.GetFields();
    UnderlyingTexts texts = fields.underneath;
    if (texts.className.empty()) {
        return {"ImportFailure", {}, Orvane::BString(fields.what), Orvane::BString(fields.cause)};
    }
    if (failure.Is("no-module") && !texts.details.IsEmpty()) {
        texts.details =
            texts.details.Left(texts.details.GetLength() - 1) + "; name it with --plugin.";
    }
    return texts;
}

std::string FormatTexts(const UnderlyingTexts& texts)
{
    if (texts.className == "std::bad_alloc") {
        return std::string(kOutOfMemoryLine);
    }
    // Some texts of the reader are short; here a person reads them.
    const bool isMissingFile = texts.className == "BFileNotFoundException";
    std::string line = "orvane: ";
    line += isMissingFile ? "There is no such file: " : "";
    line += Show(texts.message);
    line += " (" + (texts.location.IsEmpty() ? texts.className : Show(texts.location)) + ")";
    if (!texts.details.IsEmpty()) {
        line += " " + Show(texts.details);
    }
    if (texts.className == "std::out_of_range") {
        line += " A position lies outside of a row: do COLUMN_DEFINITION and NAME_COLUMN fit the "
                "columns of the file?";
    }
    return line;
}

std::string FormatFailure(const ImportFailure& failure)
{
    if (ExitStatusOf(failure) == kExitWrongArguments) {
        return "orvane: " + DescribeRequest(failure);
    }
    // What the library finds itself is said in its own words, with the file.
    if (failure.GetKind() != EFailureKind::Cancelled &&
        failure.GetFields().underneath.className.empty()) {
        return std::string("orvane: ") + failure.what();
    }
    return FormatTexts(TextsOf(failure));
}

} // namespace OrvaneHost
