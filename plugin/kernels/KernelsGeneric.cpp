// The kernels of every processor; with SSE2 where that is part of the architecture.
#include "kernels/ByteCounts.h"
#include "kernels/Index.h"
#include "kernels/Kernels.h"
#include "kernels/NumberMarks.h"
#include "kernels/NumbersOneByOne.h"
#include "kernels/ScanTypes.h"
#include "kernels/Survey.h"
#include "kernels/Texts.h"
#include "text/Utf8.h"

namespace AsciiReader::Kernels {

namespace {

/// CheckUtf8 says the same.
bool IsUtf8(const char* text, std::size_t size)
{
    const Utf8Check check = CheckUtf8({text, size});
    return check.isValidSoFar && check.validSize == size;
}

} // namespace

const Set kGeneric = {IndexText,
                      ToDoubles,
                      ToInt32s,
                      ToDoublesOfColumns,
                      AppendTexts,
                      ScanTypes,
                      SurveyText,
                      IsUtf8,
                      MarkNumbers,
                      MarkCodes,
                      CountBytes,
                      nullptr,
                      "generic"};

} // namespace AsciiReader::Kernels
