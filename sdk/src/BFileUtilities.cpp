// File-system questions, answered by Qt.
#include <Orvane/BFileUtilities.h>
#include <Orvane/BStringQt.h>

#include <QDir>
#include <QFileInfo>

namespace Orvane::BFileUtilities {

BString CompletePath(const BString& path)
{
    if (path.IsEmpty()) {
        return {};
    }
    return MakeBString(QDir::cleanPath(QFileInfo(MakeQString(path)).absoluteFilePath()));
}

bool Exists(const BString& path)
{
    return QFileInfo::exists(MakeQString(path));
}

} // namespace Orvane::BFileUtilities
