// A locale whose decimal sign is the comma.
#pragma once

namespace TestSupport {

/// Puts the process into a German locale, made by the build, for the object's lifetime. One at a
/// time, in a process of one thread. Afterwards LOCPATH is unset and the locale is "C".
class CommaLocale
{
public:
    /// The test has failed (ADD_FAILURE) when the locale cannot be set or has no decimal comma.
    CommaLocale();
    ~CommaLocale();
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;
};

} // namespace TestSupport
