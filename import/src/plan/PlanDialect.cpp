// From a plan back to the scan's own terms.
#include "PlanDialect.h"

#include "Encoding.h"

#include <Orvane/Import/Failure.h>

#include <charconv>
#include <string_view>
#include <utility>

namespace Orvane::Import {

namespace {

[[noreturn]] void FailToParse(const std::string& text)
{
    FailureFields fields;
    fields.kind = EFailureKind::Request;
    fields.code = "option-value";
    fields.what = "The separator must be one ASCII character, blanks, none, or widths such as "
                  "widths:5,14, not '" +
                  text + "'.";
    fields.subject = "separator";
    fields.value = text;
    throw ImportFailure(std::move(fields));
}

/// "5,14": how many characters each field has, all but the last.
std::vector<std::uint32_t> ParseWidths(std::string_view widths, const std::string& text)
{
    constexpr std::uint32_t kMostCharacters = 1U << 20U;
    std::vector<std::uint32_t> ends;
    std::uint32_t end = 0;
    while (!widths.empty()) {
        std::uint32_t width = 0;
        const auto result = std::from_chars(widths.data(), widths.data() + widths.size(), width);
        const auto used = static_cast<std::size_t>(result.ptr - widths.data());
        const bool hasMore = used < widths.size();
        if (result.ec != std::errc() || width == 0 || width > kMostCharacters - end ||
            (hasMore && (widths[used] != ',' || used + 1 == widths.size()))) {
            FailToParse(text);
        }
        end += width;
        ends.push_back(end);
        widths.remove_prefix(hasMore ? used + 1 : used);
    }
    if (ends.empty()) {
        FailToParse(text);
    }
    return ends;
}

} // namespace

Scan::Dialect DialectOf(const Plan& plan)
{
    const PlanSeparator& separator = plan.shape.separator.value;
    Scan::Dialect dialect;
    dialect.separation = static_cast<Scan::ESeparation>(separator.kind);
    dialect.separator = separator.character;
    dialect.skipsBlanks = separator.skipsBlanks;
    dialect.ends = separator.ends;
    dialect.hasGutters = separator.kind == EPlanSeparation::Widths &&
                         plan.shape.separator.decider != EDecider::Given;
    dialect.quote = plan.shape.quotes.value.character;
    dialect.hasBackslashes = plan.shape.quotes.value.hasBackslashes;
    dialect.opensAfterBlanks = plan.shape.quotes.value.openAfterBlanks;
    dialect.hasDoubles = plan.shape.quotes.value.hasDoubles;
    dialect.looseColumn = separator.looseColumn.value_or(Scan::Dialect::kNoColumn);
    dialect.isUtf8 = TextEncodingOf(plan) == "UTF-8" || plan.bytes.encoding.value == "US-ASCII";
    switch (plan.bytes.lineEnd.value) {
    case EPlanLineEnd::Feed:
    case EPlanLineEnd::ReturnAndFeed:
        dialect.lineEnds = Scan::ELineEnds::Feeds;
        dialect.joinsFeeds = plan.bytes.lineEnd.value == EPlanLineEnd::ReturnAndFeed;
        break;
    case EPlanLineEnd::Return:
        dialect.lineEnds = Scan::ELineEnds::Returns;
        break;
    case EPlanLineEnd::Mixed:
        dialect.lineEnds = Scan::ELineEnds::Any;
        break;
    }
    return dialect;
}

Scan::RecordCutter CutterOf(const Plan& plan)
{
    std::vector<Scan::CellForm> forms;
    for (const PlanColumn& column : plan.columns) {
        const PlanForm& form = column.form;
        forms.push_back(
            {form.cells, form.empties, form.readings, form.inAll, form.inSome, form.longest});
    }
    return Scan::RecordCutter(DialectOf(plan), std::move(forms));
}

std::unique_ptr<Scan::TextSource> OpenText(const Plan& plan)
{
    auto source = std::make_unique<Scan::TextSource>(plan.path, plan.bytes.encoding.value);
    if (plan.bytes.areLinesQuoted) {
        source->UnquoteLines();
    }
    return source;
}

const std::string& TextEncodingOf(const Plan& plan)
{
    static const std::string kUtf8 = "UTF-8";
    return Scan::UnitsOf(plan.bytes.encoding.value) == Scan::EUnits::Bytes
               ? plan.bytes.encoding.value
               : kUtf8;
}

PlanSeparator ParseSeparator(const std::string& text)
{
    constexpr std::string_view kWidths = "widths:";
    PlanSeparator separator;
    if (text == "blanks") {
        separator.kind = EPlanSeparation::Blanks;
        separator.character = ' ';
    } else if (text == "none") {
        separator.kind = EPlanSeparation::OneColumn;
        separator.character = 0;
    } else if (text.starts_with(kWidths)) {
        separator.kind = EPlanSeparation::Widths;
        separator.character = ' ';
        separator.ends = ParseWidths(std::string_view(text).substr(kWidths.size()), text);
    } else {
        separator.kind = EPlanSeparation::Character;
        const bool isTab = text == "tab" || text == "\\t";
        if (!isTab && (text.size() != 1 || static_cast<signed char>(text[0]) < 0 ||
                       text[0] == '\n' || text[0] == '\r')) {
            FailToParse(text);
        }
        separator.character = isTab ? '\t' : text[0];
    }
    return separator;
}

} // namespace Orvane::Import
