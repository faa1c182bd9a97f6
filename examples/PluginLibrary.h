// What every example needs first: a loaded plug-in, one reader of it, and the options for it.
#pragma once

#include <Orvane/BDataManagerProxy.h>
#include <Orvane/BException.h>
#include <Orvane/BKeyValuePairs.h>

#include <cstring>
#include <dlfcn.h>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Examples {

/// A plug-in module and one reader made by it. The reader goes before the module does; layers and
/// exceptions of the reader may not outlive this object.
class PluginLibrary
{
public:
    /// Loads the module and has it make a reader of a file; nothing is opened yet.
    /// @throws std::runtime_error when the file is no plug-in or can not read CSV.
    PluginLibrary(const char* module, const char* file, const Orvane::BParamList& options)
        : m_module(dlopen(module, RTLD_NOW | RTLD_LOCAL))
    {
        if (m_module == nullptr) {
            throw std::runtime_error(dlerror());
        }
        void* symbol = dlsym(m_module, Orvane::kGetDataMgrProxyName);
        if (symbol == nullptr) {
            throw std::runtime_error("The module has no function GetDataMgrProxy.");
        }
        Orvane::GetDataMgrProxyFunction getProxy = nullptr;
        std::memcpy(&getProxy, &symbol, sizeof getProxy);
        m_proxy = getProxy();
        m_reader = m_proxy->CreateReader(file, options, nullptr, nullptr);
    }

    ~PluginLibrary()
    {
        if (m_proxy != nullptr) {
            m_proxy->DestroyObject(m_reader);
        }
        dlclose(m_module);
    }

    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    [[nodiscard]] Orvane::BDataManagerProxy& GetProxy() const noexcept { return *m_proxy; }

    [[nodiscard]] Orvane::BDataReader& GetReader() const noexcept { return *m_reader; }

private:
    void* m_module = nullptr;
    Orvane::BDataManagerProxy* m_proxy = nullptr;
    Orvane::BDataReader* m_reader = nullptr;
};

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
