#include "ExportCommand.h"

#include <QCoreApplication>
#include <QDir>

namespace Lumo::App {

std::optional<ExportCommand> ExportCommand::parse(const QStringList &arguments, QString *error)
{
    const auto fail = [error](const QString &message) {
        if (error)
            *error = message;
        return std::nullopt;
    };
    const auto tr = [](const char *text) {
        return QCoreApplication::translate("ExportCommand", text);
    };
    if (arguments.value(0) != QLatin1String("--export"))
        return fail(tr("expected --export"));
    if (arguments.size() < 2)
        return fail(tr("--export needs a format: html or pdf"));

    ExportCommand command;
    const QString format = arguments.at(1);
    if (format == QLatin1String("html"))
        command.format = Format::HTML;
    else if (format == QLatin1String("pdf"))
        command.format = Format::PDF;
    else
        return fail(tr("unknown export format \"%1\" (use html or pdf)").arg(format));

    QStringList paths;
    bool optionsEnded = false;
    for (const QString &argument : arguments.mid(2)) {
        if (!optionsEnded && argument == QLatin1String("--dark"))
            command.dark = true;
        else if (!optionsEnded && argument == QLatin1String("--"))
            optionsEnded = true;
        else if (!optionsEnded && argument.startsWith(QLatin1String("--")))
            return fail(tr("unknown option %1").arg(argument));
        else
            paths.append(argument);
    }
    if (paths.size() != 2)
        return fail(tr("--export needs an input file and an output file"));
    command.input = QDir::current().absoluteFilePath(paths.at(0));
    command.output = QDir::current().absoluteFilePath(paths.at(1));
    return command;
}

QString ExportCommand::usage()
{
    return QStringLiteral("lumo --export html|pdf [--dark] IN.md OUT");
}

} // namespace Lumo::App
