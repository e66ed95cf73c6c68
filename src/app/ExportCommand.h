#pragma once

#include <optional>
#include <QString>
#include <QStringList>

namespace Lumo::App {

// "lumo --export html|pdf [--dark] IN.md OUT": what a headless export is asked to do.
struct ExportCommand
{
    enum class Format { HTML, PDF };

    Format format = Format::HTML;
    bool dark = false;
    QString input;
    QString output;

    // The arguments after the program name, the first being "--export"; nullopt
    // with a message naming the problem when they do not make a request.
    static std::optional<ExportCommand> parse(const QStringList &arguments, QString *error);
    static QString usage();
};

} // namespace Lumo::App
