// Checked access to the definitions of a schema.
#include <Orvane/BAttributeDefs.h>
#include <Orvane/BException.h>

namespace Orvane {

const BAttributeDef& BAttributeDefs::GetAt(std::size_t attributeIndex) const
{
    return CheckedAt(m_defs, attributeIndex);
}

BAttributeDef& BAttributeDefs::GetAt(std::size_t attributeIndex)
{
    return CheckedAt(m_defs, attributeIndex);
}

} // namespace Orvane
