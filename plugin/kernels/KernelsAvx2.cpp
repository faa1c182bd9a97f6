// The kernels for processors with AVX2, BMI, BMI2 and PCLMUL.
#include "kernels/Kernels.h"

#if defined(__x86_64__)

#include "kernels/ByteCounts.h"
#include "kernels/Index.h"
#include "kernels/NumberMarks.h"
#include "kernels/NumbersAvx2.h"
#include "kernels/ScanTypes.h"
#include "kernels/Survey.h"
#include "kernels/Texts.h"
#include "kernels/Utf8Sse41.h"

namespace AsciiReader::Kernels {

const Set kAvx2 = {IndexText,
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
                   "avx2"};

} // namespace AsciiReader::Kernels

#endif
