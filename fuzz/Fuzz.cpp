// Failing, and files for the harnesses.
#include "Fuzz.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

namespace Fuzz {

namespace {

const QTemporaryDir& ScratchFolder()
{
    static const QTemporaryDir kFolder;
    return kFolder;
}

} // namespace

void Fail(const std::string& message)
{
    std::fprintf(stderr, "\n==== the answers differ ====\n%s\n", message.c_str());
    std::fflush(stderr);
    std::abort();
}

void ExpectSame(const std::string& what, const std::string& expected, const std::string& actual)
{
    if (expected != actual) {
        Fail(what + "\n  expected: " + expected + "\n  actual:   " + actual);
    }
}

std::string YesOrNo(bool value)
{
    return value ? "yes" : "no";
}

std::string Escaped(std::string_view bytes)
{
    std::string result = "\"";
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        if (byte == '"' || byte == '\\') {
            result += '\\';
            result += byte;
        } else if (code < 0x20 || code > 0x7e) {
            // Octal escapes end after three digits, whatever follows.
            char buffer[8];
            std::snprintf(buffer, sizeof buffer, "\\%03o", unsigned{code});
            result += buffer;
        } else {
            result += byte;
        }
    }
    return result + "\"";
}

QString ScratchName(const QString& name)
{
    if (!ScratchFolder().isValid()) {
        Fail("no temporary folder can be made");
    }
    return ScratchFolder().filePath(name);
}

QString ScratchFile(const QString& name, const QByteArray& content)
{
    QString path = ScratchName(name);
    QFile file(path);
    if (content.isNull()) {
        file.remove();
        return path;
    }
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        Fail("a temporary file cannot be written: " + path.toStdString());
    }
    return path;
}

} // namespace Fuzz
