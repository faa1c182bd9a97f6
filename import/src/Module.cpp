// Loads the plug-in, and says why it cannot be loaded.
#include "ModuleFolder.h"
#include "Wrap.h"

#include <Orvane/BException.h>
#include <Orvane/Import/Module.h>

#include <utility>

namespace Orvane::Import {

BPluginModule LoadModule(const std::string& path)
{
    return WrapFailures({}, [&] {
        const std::filesystem::path file = FindModule(path);
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
    });
}

} // namespace Orvane::Import
