// File-system questions, answered by Qt.
#include <Orvane/BFileUtilities.h>
#include <Orvane/BStringQt.h>

#include <QDir>
#include <QFileInfo>

namespace Orvane::BFileUtilities {

namespace {

/// The path for Qt, which reads a leading colon as a resource inside the program.
QString FilePath(const BString& path)
{
    return path.StartsWith(u":") ? QStringLiteral("./") + MakeQString(path) : MakeQString(path);
}

} // namespace

BString CompletePath(const BString& path)
{
    if (path.IsEmpty()) {
        return {};
    }
    return MakeBString(QDir::cleanPath(QFileInfo(FilePath(path)).absoluteFilePath()));
}

bool Exists(const BString& path)
{
    return QFileInfo::exists(FilePath(path));
}

} // namespace Orvane::BFileUtilities
