// Loads plug-ins, and chooses the one that reads a file.
#include "ModuleFolder.h"
#include "Wrap.h"

#include <Orvane/BException.h>
#include <Orvane/Constants.h>
#include <Orvane/Import/Module.h>

#include <algorithm>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace Orvane::Import {

namespace {

BPluginModule Load(const std::filesystem::path& file)
{
    try {
        return BPluginModule(file);
    } catch (const BException& exception) {
        FailureFields fields;
        fields.kind = EFailureKind::Module;
        std::error_code error;
        fields.code = std::filesystem::exists(file, error) ? "module-load" : "no-module";
        fields.underneath = DescribeException(exception);
        fields.what = fields.underneath.message.ToUtf8();
        fields.cause = fields.underneath.details.ToUtf8();
        throw ImportFailure(std::move(fields));
    }
}

std::string WithoutFullStop(std::string text)
{
    if (text.ends_with('.')) {
        text.pop_back();
    }
    return text;
}

Note MakeNote(const ImportFailure& failure)
{
    const FailureFields& fields = failure.GetFields();
    std::string text = WithoutFullStop(fields.what);
    if (!fields.cause.empty()) {
        text += ": " + WithoutFullStop(fields.cause);
    }
    return {"module-load", std::move(text)};
}

/// The types for which a module may read the file, the first one first.
std::vector<BString> ListTypes(const std::string& file)
{
    std::vector<BString> types = {DataSourceTypeOf(file)};
    if (types[0] != DS_TXT) {
        types.push_back(DS_TXT);
    }
    return types;
}

BPluginModule ChooseModule(const std::string& file,
                           const BParamList& options,
                           const std::function<void(const Note&)>& note)
{
    std::vector<BPluginModule> modules;
    std::vector<ImportFailure> failures;
    for (const std::filesystem::path& path : FindModules()) {
        try {
            modules.push_back(Load(path));
        } catch (const ImportFailure& failure) {
            failures.push_back(failure);
        }
    }
    for (const BString& type : ListTypes(file)) {
        for (const BPluginModule& module : modules) {
            if (!module.GetProxy().CanRead(type, options)) {
                continue;
            }
            for (std::size_t index = 0; note && index < failures.size(); ++index) {
                note(MakeNote(failures[index]));
            }
            return module;
        }
    }
    if (!failures.empty()) {
        throw ImportFailure(failures.front());
    }
    FailUnsupportedType(file);
}

} // namespace

void FailUnsupportedType(const std::string& file)
{
    FailureFields fields;
    fields.kind = EFailureKind::Module;
    fields.code = "unsupported-type";
    fields.file = file;
    fields.underneath = {
        "BException",
        "ReaderSession::Create",
        BString::Format("The plug-in cannot read data of the type <%ls>.", DataSourceTypeOf(file)),
        BString()};
    fields.what = fields.underneath.message.ToUtf8();
    throw ImportFailure(std::move(fields));
}

BString DataSourceTypeOf(const std::string& path)
{
    const std::size_t name = path.rfind('/') + 1; // 0 without a slash
    const std::size_t dot = path.rfind('.');
    if (dot == std::string::npos || dot < name || dot + 1 == path.size()) {
        return DS_TXT;
    }
    std::string extension = path.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(), [](char byte) {
        return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
    });
    return BString::FromUtf8("DS_" + extension);
}

bool CanReadFile(const BPluginModule& module, const std::string& file, const BParamList& options)
{
    return WrapFailures(file, [&] {
        const std::vector<BString> types = ListTypes(file);
        return std::any_of(types.begin(), types.end(), [&](const BString& type) {
            return module.GetProxy().CanRead(type, options);
        });
    });
}

BPluginModule LoadModule(const std::string& path)
{
    return WrapFailures(
        {}, [&] { return Load(path.empty() ? FindBundledModule() : std::filesystem::path(path)); });
}

BPluginModule LoadModuleFor(const std::string& file,
                            const BParamList& options,
                            const std::string& path,
                            const std::function<void(const Note&)>& note)
{
    if (!path.empty()) {
        return LoadModule(path);
    }
    return WrapFailures(file, [&] { return ChooseModule(file, options, note); });
}

} // namespace Orvane::Import
