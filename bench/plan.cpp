// The program `orvane_bench_plan`: reads a file as an import does, without writing anything: the
// plan, then the rows by it into a layer that is kept. Each run is one sample.
#include "Measure.h"
#include "table/Table.h"

#include <Orvane/BVectorLayer.h>
#include <Orvane/Import/Failure.h>
#include <Orvane/Import/Plan.h>

#include <cstdint>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>

namespace {

using namespace Orvane::Import;
using OrvaneBench::Measure;
using OrvaneBench::Times;

class CountedRows : public BadRowSink
{
public:
    void Add(const TableRecord& /*record*/) override { ++count; }

    std::uint64_t count = 0;
};

void PrintTimes(const char* name, const Times& times)
{
    std::printf("%s_cpu_s %.6f\n%s_wall_s %.6f\n", name, times.cpu, name, times.wall);
}

void Run(const std::string& file, const PlanRequest& request)
{
    Times plan;
    Times read;
    Plan made;
    Measure(plan, [&] { made = MakePlan(file, request); });
    const std::int64_t peakOfPlan = OrvaneBench::PeakBytes();
    Orvane::BVectorLayer layer;
    CountedRows bad;
    TableCounts counts;
    Measure(read, [&] { counts = ReadTable(made, {}, layer, bad, {}); });
    std::printf("rows %llu\npoints %llu\nbad_rows %llu\nby_column %llu\n",
                static_cast<unsigned long long>(counts.rows),
                static_cast<unsigned long long>(counts.points),
                static_cast<unsigned long long>(bad.count),
                static_cast<unsigned long long>(counts.rowsByColumn));
    PrintTimes("plan", plan);
    PrintTimes("read", read);
    std::printf("plan_peak_bytes %lld\n", static_cast<long long>(peakOfPlan));
}

} // namespace

int main(int argumentCount, char** argumentTexts)
{
    if (argumentCount < 2 || argumentCount == 3 || argumentCount > 5) {
        std::cerr << "usage: orvane_bench_plan FILE [X Y [Z]]\n"
                     "\n"
                     "X, Y and Z are names of columns; without them the plan finds them.\n";
        return 2;
    }
    try {
        PlanRequest request;
        request.x = argumentCount > 3 ? argumentTexts[2] : "";
        request.y = argumentCount > 3 ? argumentTexts[3] : "";
        request.z = argumentCount > 4 ? argumentTexts[4] : "";
        Run(argumentTexts[1], request);
        return 0;
    } catch (const ImportFailure& failure) {
        std::cerr << failure.what() << '\n';
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
    }
    return 1;
}
