// The kernels for processors with SSSE3, SSE4.1 and POPCNT.
#include "kernels/Kernels.h"

#if defined(__x86_64__)

#include "kernels/ByteCounts.h"
#include "kernels/Index.h"
#include "kernels/NumberMarks.h"
#include "kernels/NumbersOneByOne.h"
#include "kernels/ScanTypes.h"
#include "kernels/Survey.h"
#include "kernels/Texts.h"
#include "kernels/Utf8Sse41.h"

namespace AsciiReader::Kernels {

const Set kSse41 = {IndexText,
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
                    "sse4.1"};

} // namespace AsciiReader::Kernels

#endif
