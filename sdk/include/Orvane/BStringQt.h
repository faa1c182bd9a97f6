// Hands texts between BString and QString without copying; for code that uses Qt already.
#pragma once

#include <Orvane/BString.h>

#include <QString>

#include <new>
#include <utility>

namespace Orvane {

/// The one access to the QString inside a BString.
struct BStringAccess
{
    static const QString& Get(const BString& text) noexcept
    {
        return *std::launder(reinterpret_cast<const QString*>(text.m_storage));
    }

    static QString& Get(BString& text) noexcept
    {
        return *std::launder(reinterpret_cast<QString*>(text.m_storage));
    }
};

/// The same text as a QString; both share one buffer.
inline const QString& MakeQString(const BString& text) noexcept
{
    return BStringAccess::Get(text);
}

inline QString MakeQString(BString&& text) noexcept
{
    return std::move(BStringAccess::Get(text));
}

/// The same text as a BString; both share one buffer.
inline BString MakeBString(const QString& text) noexcept
{
    BString result;
    BStringAccess::Get(result) = text;
    return result;
}

inline BString MakeBString(QString&& text) noexcept
{
    BString result;
    BStringAccess::Get(result) = std::move(text);
    return result;
}

} // namespace Orvane
