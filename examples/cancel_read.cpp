// Shows how a host follows a read and stops it: a progress object of its own that asks for a report
// every hundred rows and ends the read after as many rows as the user wants.
//
// Usage: cancel_read MODULE FILE ROWS [KEY=VALUE]...
// Read first: list_layer.cpp.
#include "ExampleSupport.h"

#include <Orvane/BPluginModule.h>
#include <Orvane/BProgress.h>

#include <iostream>
#include <string>

namespace {

class RowLimit : public Orvane::BProgress
{
public:
    explicit RowLimit(unsigned rows)
        : m_rows(rows)
    {}

    bool ShouldReport(unsigned done, unsigned /*total*/) override
    {
        constexpr unsigned kRowsAReport = 100;
        return done % kRowsAReport == 0 || done >= m_rows;
    }

    // The reader reports once more at its end. Having said no, this object goes on saying no: that
    // last answer is what the reader's status tells.
    bool Report(unsigned done, unsigned /*total*/) override
    {
        std::cout << done << " rows\n";
        m_isStopped = m_isStopped || done >= m_rows;
        return !m_isStopped;
    }

private:
    unsigned m_rows;
    bool m_isStopped = false;
};

} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount < 4) {
        std::cerr << "usage: cancel_read MODULE FILE ROWS [KEY=VALUE]...\n";
        return 2;
    }
    return Examples::Run([&] {
        RowLimit progress(static_cast<unsigned>(std::stoul(arguments[3])));
        const Orvane::BParamList options = Examples::ParseOptions(argumentCount, arguments, 4);
        const Orvane::BPluginModule module(arguments[1]);
        const Orvane::BReaderHandle reader = module.CreateReader(arguments[2], options);
        reader->SetProgress(&progress);
        reader->Open(arguments[2], options);
        reader->Read();
        const bool isCancelled = reader->GetStatus() == Orvane::EManagerStatus::kCancelled;
        std::cout << (isCancelled ? "cancelled" : "complete") << '\n';
        reader->Close();
    });
}
