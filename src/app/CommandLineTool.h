#pragma once

#include <optional>
#include <QString>
#include <QStringList>

// The "lumo" command and URL scheme. The command is a shell script among the
// application's resources, installed as a symbolic link in a folder on the user's
// search path; lumo://folder?path=/some/folder asks to browse a folder.
namespace Lumo::App::CommandLineTool {

// The launcher script in the resources ("bin/lumo"); empty when it is missing.
QString script();

// Install folders, most preferred first; the last, in the home folder, is the
// fallback when none of them is writable.
QStringList candidates();

// What installing showed the user: the link made, or why none could be.
struct InstallResult
{
    bool installed = false;
    QString link;
    QString error;
};

// Links folder/lumo to the script in the first writable candidate (else the last,
// created as needed), replacing whatever is there. A folder whose "lumo" is the
// running program itself is passed over, so installing never deletes the program.
InstallResult installLink(const QString &script, const QStringList &candidates);

// The lines the success alert shows below the link's path.
QString usage();

// The folder a URL asks to open: scheme exactly "lumo", host exactly "folder", the
// first "path" query item with a value. Anything else asks for nothing.
// Takes the URL as text: QUrl would fold the case of scheme and host.
std::optional<QString> folderToOpen(const QString &urlText);

} // namespace Lumo::App::CommandLineTool
