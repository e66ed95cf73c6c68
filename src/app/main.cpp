#include "app/Application.h"
#include "app/DesktopCommands.h"
#include "app/ExportCommand.h"
#include "app/HeadlessExport.h"
#include "app/LegacyMigration.h"
#include "app/Preferences.h"
#include "app/SingleInstance.h"
#include "app/WebEngineSetup.h"
#include "DesktopAppearance.h"
#include "document/TextEncoding.h"

#include <cstdio>
#include <cstring>
#include <optional>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>

namespace {

void printUsage()
{
    std::fputs("usage: lumo [FILE.md ...]   open Markdown files\n"
               "       lumo [FOLDER]        open a folder\n"
               "       tool | lumo -        read Markdown from standard input\n"
               "       lumo --export html|pdf [--dark] IN.md OUT\n"
               "       lumo --post NAME [ARG]\n",
               stdout);
}

// The request this launch makes: files as absolute paths, lumo: URLs as given, and
// standard input's text for "-".
QJsonObject openRequest(const QStringList &arguments)
{
    QJsonArray paths;
    QJsonArray urls;
    QJsonObject request{{QStringLiteral("kind"), QStringLiteral("open")}};
    for (const QString &argument : arguments) {
        if (argument == QLatin1String("-")) {
            QFile input;
            if (input.open(stdin, QIODevice::ReadOnly))
                request.insert(QStringLiteral("text"), TextEncoding::decode(input.readAll()).text);
        } else if (argument.startsWith(QLatin1String("lumo:"))) {
            urls.append(argument);
        } else if (argument.startsWith(QLatin1String("file://"))) {
            paths.append(QUrl(argument).toLocalFile());
        } else {
            paths.append(QDir::current().absoluteFilePath(argument));
        }
    }
    request.insert(QStringLiteral("paths"), paths);
    request.insert(QStringLiteral("urls"), urls);
    return request;
}

} // namespace

int main(int argc, char *argv[])
{
    // A headless export stands alone: checked before anything starts, and never
    // handed to a running Lumo.
    std::optional<ExportCommand> exportCommand;
    if (argc > 1 && std::strcmp(argv[1], "--export") == 0) {
        QStringList exportArguments;
        for (int i = 1; i < argc; ++i)
            exportArguments.append(QString::fromLocal8Bit(argv[i]));
        QString error;
        exportCommand = ExportCommand::parse(exportArguments, &error);
        if (!exportCommand) {
            std::fprintf(stderr, "lumo: %s\nusage: %s\n", qUtf8Printable(error),
                         qUtf8Printable(ExportCommand::usage()));
            return 2;
        }
        HeadlessExport::prepareEnvironment();
    }
    WebEngineSetup::prepare();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Lumo"));
    QApplication::setApplicationDisplayName(QStringLiteral("Lumo"));
    QApplication::setApplicationVersion(QStringLiteral(LUMO_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("lumo"));

    if (exportCommand)
        return HeadlessExport::run(*exportCommand);

    const QStringList arguments = QApplication::arguments().mid(1);
    if (arguments.value(0) == QLatin1String("--version")) {
        std::printf("lumo %s\n", LUMO_VERSION);
        return 0;
    }
    if (arguments.contains(QLatin1String("--help")) || arguments.contains(QLatin1String("-h"))) {
        printUsage();
        return 0;
    }
    if (arguments.value(0) == QLatin1String("--post")) {
        if (arguments.size() < 2 || arguments.size() > 3) {
            printUsage();
            return 2;
        }
        const QJsonObject post{{QStringLiteral("kind"), QStringLiteral("post")},
                               {QStringLiteral("name"), arguments.at(1)},
                               {QStringLiteral("arg"), arguments.value(2)}};
        if (SingleInstance::send(post))
            return 0;
        std::fputs("lumo: Lumo is not running\n", stderr);
        return 1;
    }

    const QJsonObject request = openRequest(arguments);
    if (SingleInstance::send(request, 1000))
        return 0;

    SingleInstance instance;
    if (!instance.listen())
        std::fprintf(stderr, "lumo: cannot listen on %s; later launches open their own window\n",
                     qUtf8Printable(SingleInstance::socketPath()));

    LegacyMigration::run(Preferences::shared());
    DesktopAppearance::install();
    Application lumo;
    QObject::connect(&instance, &SingleInstance::requestReceived, &lumo,
                     &Application::handleRequest);
    lumo.handleRequest(request);
    if (lumo.windows().isEmpty())
        return 1;
    DesktopCommands::offerOnFirstLaunch();
    const int status = QApplication::exec();
    Preferences::shared().sync();
    return status;
}
