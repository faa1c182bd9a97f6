// Shows the fast way through a layer: page by page and column by column, without a feature object.
//
// Usage: column_sums MODULE FILE [KEY=VALUE]...
// Read first: list_layer.cpp.
#include "ExampleSupport.h"

#include <Orvane/BAttributeDefs.h>
#include <Orvane/BFeaturePage.h>
#include <Orvane/BPluginModule.h>
#include <Orvane/BRowWalk.h>
#include <Orvane/BVectorLayer.h>

#include <cstddef>
#include <iomanip>
#include <iostream>
#include <vector>

namespace {

struct Sums
{
    std::size_t points = 0;
    double x = 0;
    double y = 0;
    std::vector<double> columns; ///< 0 for columns without numbers
};

bool HasNumbers(const Orvane::BAttributeDef& definition)
{
    const Orvane::EColumnStorage storage = Orvane::StorageOf(definition.GetType());
    return storage != Orvane::EColumnStorage::Boolean && storage != Orvane::EColumnStorage::Text;
}

// Overloads for the arrays in which columns can be stored.
double SumValues(const Orvane::BTextArray& /*texts*/)
{
    return 0;
}

template <typename Number>
double SumValues(const Orvane::BPageArray<Number>& values)
{
    double sum = 0;
    for (const Number value : values.View()) {
        sum += static_cast<double>(value);
    }
    return sum;
}

double SumColumn(const Orvane::BColumnData& column)
{
    return Orvane::VisitColumn(column, [](const auto& values) { return SumValues(values); });
}

// A layer that nobody has changed since it was read has all its rows in the pages. Rows that a host
// changed, or added with values of another kind, stand beside them: BRowWalk::GetObject gives them.
Sums SumLayer(const Orvane::BVectorLayer& layer)
{
    const Orvane::BFeatureCollection& features = layer.GetFeatures();
    Sums sums;
    sums.columns.resize(layer.GetSchema().GetCount());
    for (Orvane::BRowWalk walk(features); walk.NextPage();) {
        const Orvane::BFeaturePage& page = walk.GetPage();
        for (std::size_t row = 0; row < page.GetRowCount(); ++row) {
            if (page.GetPointKind(row) != Orvane::EPointKind::None) {
                ++sums.points;
                sums.x += page.x[row];
                sums.y += page.y[row];
            }
        }
        for (std::size_t column = 0; column < page.data.size(); ++column) {
            sums.columns[column] += SumColumn(page.data[column]);
        }
    }
    return sums;
}

} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount < 3) {
        std::cerr << "usage: column_sums MODULE FILE [KEY=VALUE]...\n";
        return 2;
    }
    return Examples::Run([&] {
        const Orvane::BParamList options = Examples::ParseOptions(argumentCount, arguments, 3);
        const Orvane::BPluginModule module(arguments[1]);
        const Orvane::BReaderHandle reader = module.CreateReader(arguments[2], options);
        reader->Open(arguments[2], options);
        reader->Read();

        const Orvane::BVectorLayer& layer = *reader->GetLayers().GetAt(0);
        const Sums sums = SumLayer(layer);
        std::cout << std::fixed << std::setprecision(3);
        std::cout << sums.points << " points, sum of x " << sums.x << ", sum of y " << sums.y
                  << '\n';
        for (std::size_t column = 0; column < sums.columns.size(); ++column) {
            if (!HasNumbers(layer.GetSchema().GetAt(column))) {
                continue;
            }
            std::cout << layer.GetSchema().GetAt(column).GetName().ToUtf8() << ": "
                      << sums.columns[column] << '\n';
        }
        reader->Close();
    });
}
