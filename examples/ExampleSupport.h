// What every example needs besides the SDK: options from arguments, and failures as a line of text.
#pragma once

#include <Orvane/BException.h>
#include <Orvane/BKeyValuePairs.h>

#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Examples {

/// Options from arguments written KEY=VALUE. Every value is given as text; the reader converts.
inline Orvane::BParamList ParseOptions(int argumentCount, char** arguments, int from)
{
    Orvane::BParamList options;
    for (int index = from; index < argumentCount; ++index) {
        const std::string_view argument = arguments[index];
        const std::size_t equals = argument.find('=');
        if (equals == std::string_view::npos) {
            throw std::runtime_error("An option is written KEY=VALUE.");
        }
        options.Add(Orvane::BString::FromUtf8(argument.substr(0, equals)),
                    Orvane::BString::FromUtf8(argument.substr(equals + 1)));
    }
    return options;
}

/// Runs an example's work and turns exceptions into a line on standard error. @return exit status
template <typename Work>
int Run(const Work& work)
{
    try {
        work();
        return 0;
    } catch (const Orvane::BException& error) {
        std::cerr << error.GetClassName() << " at " << error.GetLocation().ToUtf8() << ": "
                  << error.GetMessage().ToUtf8() << '\n';
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
    }
    return 1;
}

} // namespace Examples
