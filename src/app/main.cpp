#include "app/ResourcePaths.h"
#include "document/DocumentWindow.h"

#include <QApplication>
#include <QFileInfo>
#include <QMessageBox>

namespace {

bool openWindow(const QString &path)
{
    QString error;
    const auto document = MarkdownDocument::read(path, &error);
    if (!document) {
        QMessageBox::warning(nullptr, QObject::tr("Lumo"), error);
        return false;
    }
    auto *window = new DocumentWindow(*document, QFileInfo(path).absoluteFilePath());
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->show();
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Lumo"));
    QApplication::setApplicationDisplayName(QStringLiteral("Lumo"));
    QApplication::setApplicationVersion(QStringLiteral(LUMO_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("lumo"));

    QStringList paths = QApplication::arguments().mid(1);
    if (paths.isEmpty())
        paths.append(ResourcePaths::welcomeDocument());

    int opened = 0;
    for (const QString &path : std::as_const(paths))
        opened += openWindow(path) ? 1 : 0;
    return opened > 0 ? QApplication::exec() : 1;
}
