#include "Application.h"
#include "DesktopCommands.h"
#include "ExportCommand.h"
#include "HeadlessExport.h"
#include "LaunchArguments.h"
#include "LegacyMigration.h"
#include "SingleInstance.h"
#include "base/Preferences.h"
#include "DesktopAppearance.h"
#include "document/TextEncoding.h"
#include "document/WebEngineSetup.h"

#include <cstdio>
#include <optional>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>

using Lumo::App::Application;
using Lumo::App::ExportCommand;
using Lumo::App::LaunchArguments;
using Lumo::App::OpenTarget;
using Lumo::App::SingleInstance;
using Lumo::Base::Preferences;
using Lumo::Document::TextEncoding;
namespace DesktopAppearance = Lumo::App::DesktopAppearance;
namespace DesktopCommands = Lumo::App::DesktopCommands;
namespace HeadlessExport = Lumo::App::HeadlessExport;
namespace LegacyMigration = Lumo::App::LegacyMigration;
namespace WebEngineSetup = Lumo::Document::WebEngineSetup;

namespace {

// The request this launch makes: files as absolute paths (with the place to show),
// lumo: URLs as given, and standard input's text for "-".
QJsonObject openRequest(const LaunchArguments &arguments)
{
    QJsonArray paths;
    for (const OpenTarget &target : arguments.targets)
        paths.append(target.toJson());
    QJsonObject request{{QStringLiteral("kind"), QStringLiteral("open")},
                        {QStringLiteral("paths"), paths},
                        {QStringLiteral("urls"), QJsonArray::fromStringList(arguments.urls)}};
    if (arguments.readStandardInput) {
        QFile input;
        if (input.open(stdin, QIODevice::ReadOnly))
            request.insert(QStringLiteral("text"), TextEncoding::decode(input.readAll()).text);
    }
    return request;
}

// Answers what needs no window: help, the version and a malformed command line.
// Before QApplication has taken its own options ("-platform NAME", "-style NAME"),
// an unknown single-dash option may still be one of those.
std::optional<int> answerAtOnce(const LaunchArguments &arguments, bool qtOptionsTaken)
{
    switch (arguments.action) {
    case LaunchArguments::Action::Invalid:
        if (!qtOptionsTaken && !arguments.unknownOption.startsWith(QLatin1String("--")))
            return std::nullopt;
        std::fprintf(stderr, "lumo: %s\n", qUtf8Printable(arguments.error));
        return 2;
    case LaunchArguments::Action::Help:
        std::fputs(qUtf8Printable(LaunchArguments::usage()), stdout);
        return 0;
    case LaunchArguments::Action::Version:
        std::printf("lumo %s\n", LUMO_VERSION);
        return 0;
    case LaunchArguments::Action::Post:
    case LaunchArguments::Action::Open:
        break;
    }
    return std::nullopt;
}

} // namespace

int main(int argc, char *argv[])
{
    QStringList rawArguments;
    for (int i = 1; i < argc; ++i)
        rawArguments.append(QString::fromLocal8Bit(argv[i]));
    // A headless export stands alone: checked before anything starts, and never
    // handed to a running Lumo.
    std::optional<ExportCommand> exportCommand;
    if (rawArguments.value(0) == QLatin1String("--export")) {
        QString error;
        exportCommand = ExportCommand::parse(rawArguments, &error);
        if (!exportCommand) {
            std::fprintf(stderr, "lumo: %s\nusage: %s\n", qUtf8Printable(error),
                         qUtf8Printable(ExportCommand::usage()));
            return 2;
        }
        HeadlessExport::prepareEnvironment();
    } else if (const std::optional<int> status =
                   answerAtOnce(LaunchArguments::parse(rawArguments, QDir::currentPath()), false)) {
        return *status;
    }
    WebEngineSetup::prepare();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Lumo"));
    QApplication::setApplicationDisplayName(QStringLiteral("Lumo"));
    QApplication::setApplicationVersion(QStringLiteral(LUMO_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("lumo"));

    if (exportCommand)
        return HeadlessExport::run(*exportCommand);

    const LaunchArguments arguments =
        LaunchArguments::parse(QApplication::arguments().mid(1), QDir::currentPath());
    if (const std::optional<int> status = answerAtOnce(arguments, true))
        return *status;
    if (arguments.action == LaunchArguments::Action::Post) {
        const QJsonObject post{{QStringLiteral("kind"), QStringLiteral("post")},
                               {QStringLiteral("name"), arguments.postName},
                               {QStringLiteral("arg"), arguments.postArgument}};
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
