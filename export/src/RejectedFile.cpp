// An output file of its own in the working folder.
#include "RejectedFile.h"

#include "Wrap.h"

#include <filesystem>
#include <utility>

namespace Orvane::Import {

SideFile RejectedFile::Add(std::string name, const std::string& input)
{
    m_name = std::move(name);
    return WrapFailures(m_name, [&] {
        m_file = std::make_unique<OutputFile>(m_name, input);
        m_file->Begin();
        return SideFile{m_file->GetWorkFile(), m_file->GetFile(), m_name};
    });
}

bool RejectedFile::IsThere() const
{
    return m_file && std::filesystem::exists(m_file->GetWorkFile());
}

void RejectedFile::Prepare()
{
    if (IsThere()) {
        WrapFailures(m_name, [&] { m_file->Prepare(); });
    }
}

void RejectedFile::Commit()
{
    if (IsThere()) {
        WrapFailures(m_name, [&] { m_file->Commit(); });
    }
}

} // namespace Orvane::Import
