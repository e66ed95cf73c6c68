#include "DefaultApp.h"

#include "base/Preferences.h"

#include <memory>
#include <optional>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>

namespace Lumo::App {

using Lumo::Base::Preferences;

namespace DefaultApp {

namespace {

// Runs xdg-mime; done gets its standard output, or nothing when it failed.
void runXdgMime(const QStringList &arguments,
                std::function<void(const std::optional<QByteArray> &output)> done)
{
    auto *process = new QProcess(QCoreApplication::instance());
    auto finished = std::make_shared<bool>(false);
    const auto finish = [process, done, finished](bool ok) {
        if (*finished)
            return;
        *finished = true;
        process->deleteLater();
        done(ok ? std::optional<QByteArray>(process->readAllStandardOutput()) : std::nullopt);
    };
    QObject::connect(process, &QProcess::finished, process,
                     [process, finish](int code, QProcess::ExitStatus status) {
                         finish(status == QProcess::NormalExit && code == 0);
                     });
    QObject::connect(process, &QProcess::errorOccurred, process,
                     [finish](QProcess::ProcessError error) {
                         if (error == QProcess::FailedToStart)
                             finish(false);
                     });
    process->start(QStringLiteral("xdg-mime"), arguments);
}

} // namespace

QStringList contentTypes()
{
    return {QStringLiteral("text/markdown"), QStringLiteral("text/x-markdown")};
}

void isDefault(std::function<void(bool)> answer)
{
    runXdgMime({QStringLiteral("query"), QStringLiteral("default"), contentTypes().at(0)},
               [answer](const std::optional<QByteArray> &output) {
                   answer(output && output->trimmed() == QByteArray(desktopEntry));
               });
}

void makeDefault(std::function<void()> done)
{
    runXdgMime(QStringList{QStringLiteral("default"), QLatin1String(desktopEntry)} + contentTypes(),
               [done](const std::optional<QByteArray> &) {
                   if (done)
                       done();
               });
}

bool isInstalledCopy()
{
    const QString prefix = QCoreApplication::applicationDirPath() + QStringLiteral("/..");
    return QFileInfo::exists(QDir::cleanPath(prefix + QStringLiteral("/share/applications/") +
                                             QLatin1String(desktopEntry)));
}

void shouldOffer(std::function<void(bool)> answer)
{
    if (!isInstalledCopy() || Preferences::shared().askedToBeDefault()) {
        answer(false);
        return;
    }
    isDefault([answer](bool isOurs) { answer(!isOurs); });
}

} // namespace DefaultApp

} // namespace Lumo::App
