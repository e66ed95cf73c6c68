#include "LaunchArguments.h"

#include <QDir>
#include <QUrl>

namespace Lumo::App {

namespace {

LaunchArguments invalid(const QString &error)
{
    LaunchArguments result;
    result.action = LaunchArguments::Action::Invalid;
    result.error = error;
    return result;
}

} // namespace

LaunchArguments LaunchArguments::parse(const QStringList &arguments, const QString &currentFolder)
{
    LaunchArguments result;
    const QString first = arguments.value(0);
    if (first == QLatin1String("--post")) {
        if (arguments.size() < 2 || arguments.size() > 3)
            return invalid(QStringLiteral("--post takes a NAME and an optional ARG"));
        result.action = Action::Post;
        result.postName = arguments.at(1);
        result.postArgument = arguments.value(2);
        return result;
    }

    const QDir folder(currentFolder);
    bool optionsEnded = false;
    for (const QString &argument : arguments) {
        if (!optionsEnded && argument.startsWith(QLatin1Char('-')) && argument.size() > 1) {
            if (argument == QLatin1String("--")) {
                optionsEnded = true;
            } else if (argument == QLatin1String("--help") || argument == QLatin1String("-h")) {
                LaunchArguments help;
                help.action = Action::Help;
                return help;
            } else if (argument == QLatin1String("--version")) {
                LaunchArguments version;
                version.action = Action::Version;
                return version;
            } else {
                LaunchArguments unknown =
                    invalid(QStringLiteral("unknown option %1 (see lumo --help)").arg(argument));
                unknown.unknownOption = argument;
                return unknown;
            }
        } else if (argument == QLatin1String("-") && !optionsEnded) {
            result.readStandardInput = true;
        } else if (argument.startsWith(QLatin1String("lumo:"), Qt::CaseInsensitive)) {
            result.urls.append(argument);
        } else if (argument.startsWith(QLatin1String("file:"))) {
            const QUrl url(argument);
            OpenTarget target{url.toLocalFile(), -1, {}};
            if (url.hasFragment())
                target.heading = url.fragment(QUrl::FullyDecoded);
            result.targets.append(target);
        } else {
            result.targets.append(
                OpenTarget::fromArgument(QDir::cleanPath(folder.absoluteFilePath(argument))));
        }
    }
    return result;
}

QString LaunchArguments::usage()
{
    return QStringLiteral("usage: lumo [FILE.md ...]      open Markdown files\n"
                          "       lumo FILE.md:LINE       open a file at a line\n"
                          "       lumo FILE.md#HEADING    open a file at a heading\n"
                          "       lumo [FOLDER]           open a folder\n"
                          "       tool | lumo -           read Markdown from standard input\n"
                          "       lumo --export html|pdf [--dark] IN.md OUT\n"
                          "       lumo --post NAME [ARG]\n"
                          "       lumo --help | --version\n");
}

} // namespace Lumo::App
