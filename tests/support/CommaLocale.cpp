// Sets the locale that the build has made.
#include "support/CommaLocale.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace TestSupport {

CommaLocale::CommaLocale()
{
    setenv("LOCPATH", ORVANE_LOCALE_FOLDER, 1);
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
        ADD_FAILURE() << "there is no locale de_DE.UTF-8 in " << ORVANE_LOCALE_FOLDER;
    }
    char text[16];
    std::snprintf(text, sizeof text, "%.1f", 1.5);
    if (std::string_view(text) != "1,5") {
        ADD_FAILURE() << "the locale has no decimal comma: " << text;
    }
}

CommaLocale::~CommaLocale()
{
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
}

} // namespace TestSupport
