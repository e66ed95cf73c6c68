#include "FolderOpenRules.h"

#include "base/Background.h"
#include "search/ProjectFiles.h"
#include "Workspace.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace Lumo::Workspace {

using Lumo::Base::runInBackground;
using Lumo::Search::MarkdownFile;
namespace ProjectFiles = Lumo::Search::ProjectFiles;

namespace FolderOpenRules {

bool isFolder(const QString &path)
{
    const QFileInfo info(path);
    return !path.isEmpty() && info.isDir() && !info.isBundle();
}

std::optional<qsizetype> showingDocument(const QString &folder, const QStringList &documentPaths)
{
    for (qsizetype i = 0; i < documentPaths.size(); ++i) {
        if (!documentPaths.at(i).isEmpty() && Workspace::contains(folder, documentPaths.at(i)))
            return i;
    }
    return std::nullopt;
}

std::optional<QString> firstFile(const QString &folder)
{
    const QList<MarkdownFile> files = ProjectFiles::scan(folder, ProjectFiles::scanLimit);
    if (files.isEmpty())
        return std::nullopt;
    return files.constFirst().path;
}

void findFirstFile(const QString &folder, QObject *context,
                   std::function<void(std::optional<QString>)> done)
{
    // Without a context there is no one to tell.
    if (!context)
        return;
    runInBackground(
        context, [folder] { return firstFile(folder); }, std::move(done));
}

QString openDialogMessage()
{
    return QCoreApplication::translate("FolderOpenRules",
                                       "Choose a Markdown file, or a folder to browse");
}

QString chooseFolderMessage()
{
    return QCoreApplication::translate("FolderOpenRules",
                                       "Choose a folder to browse its Markdown files");
}

QString noFilesText(const QString &folder)
{
    return QCoreApplication::translate("FolderOpenRules", "No Markdown files in “%1”")
        .arg(QFileInfo(QDir::cleanPath(folder)).fileName());
}

QString noFilesDetail()
{
    return QCoreApplication::translate(
        "FolderOpenRules",
        "Lumo shows .md files. This folder and the folders inside it have none.");
}

} // namespace FolderOpenRules

} // namespace Lumo::Workspace
