#pragma once

#include "OpenTarget.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace Lumo::App {

// What the program's arguments (after its name) ask for, short of a headless export
// (ExportCommand): help, the version, a diagnostic notification, or documents to open.
struct LaunchArguments
{
    enum class Action { Open, Help, Version, Post, Invalid };

    Action action = Action::Open;
    // Invalid: one line naming the problem, without the "lumo: " prefix, and the
    // unknown option when that is the problem.
    QString error;
    QString unknownOption;
    // Post: the notification's name and its argument (possibly empty).
    QString postName;
    QString postArgument;
    // Open: files relative to the current folder made absolute, lumo: URLs as given,
    // and whether "-" asks for standard input.
    QList<OpenTarget> targets;
    QStringList urls;
    bool readStandardInput = false;

    // "--" ends the options: what follows are names, even "-x" or "-".
    static LaunchArguments parse(const QStringList &arguments, const QString &currentFolder);
    static QString usage();
};

} // namespace Lumo::App
