#include "DesktopCommands.h"

#include "base/Preferences.h"
#include "CommandLineTool.h"
#include "DefaultApp.h"

#include <QAction>
#include <QApplication>
#include <QMainWindow>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTimer>

namespace Lumo::App {

using Lumo::Base::Preferences;

namespace DesktopCommands {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("DesktopCommands", text);
}

void alert(QMessageBox::Icon icon, const QString &message, const QString &informative)
{
    QMessageBox box(icon, QStringLiteral("Lumo"), message, QMessageBox::Ok);
    box.setInformativeText(informative);
    box.setWindowModality(Qt::ApplicationModal);
    box.exec();
}

// The window the offer is shown on: visible, able to be the main window, with no
// sheet already on it.
QMainWindow *offerWindow()
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        auto *window = qobject_cast<QMainWindow *>(widget);
        if (!window || !window->isVisible() || window->isMinimized())
            continue;
        bool hasSheet = false;
        for (const QDialog *dialog : window->findChildren<QDialog *>()) {
            if (dialog->isVisible())
                hasSheet = true;
        }
        if (!hasSheet)
            return window;
    }
    return nullptr;
}

} // namespace

void create(QWidget *window)
{
    auto *makeDefaultCommand = new QAction(tr("Make Lumo the Default for .md Files"), window);
    makeDefaultCommand->setObjectName(QStringLiteral("makeDefault"));
    QObject::connect(makeDefaultCommand, &QAction::triggered, window, [] { makeDefault(); });
    auto *install = new QAction(tr("Install Command Line Tool…"), window);
    install->setObjectName(QStringLiteral("installCommandLineTool"));
    QObject::connect(install, &QAction::triggered, window, [] { installCommandLineTool(); });
}

void installCommandLineTool()
{
    const QString script = CommandLineTool::script();
    if (script.isEmpty())
        return;
    const CommandLineTool::InstallResult result =
        CommandLineTool::installLink(script, CommandLineTool::candidates());
    if (result.installed)
        alert(QMessageBox::Information, tr("Installed the lumo command"),
              result.link + CommandLineTool::usage());
    else
        alert(QMessageBox::Warning, tr("Couldn't install the lumo command"), result.error);
}

void makeDefault()
{
    if (!DefaultApp::isInstalledCopy()) {
        alert(QMessageBox::Information, tr("Lumo can't be the default from here"),
              tr("Only an installed Lumo, with its desktop entry, can open Markdown files "
                 "for the desktop. Install it with “cmake --install”, then try again."));
        return;
    }
    DefaultApp::makeDefault([] {
        DefaultApp::isDefault([](bool isOurs) {
            if (!isOurs)
                alert(QMessageBox::Warning, tr("Lumo could not be made the default"),
                      tr("The desktop did not accept Lumo as the application for Markdown "
                         "files. Is xdg-mime (from xdg-utils) installed?"));
        });
    });
}

void offerOnFirstLaunch()
{
    DefaultApp::shouldOffer([](bool offer) {
        if (!offer)
            return;
        QTimer::singleShot(1200, QCoreApplication::instance(), [] {
            QMainWindow *window = offerWindow();
            if (!window)
                return;
            Preferences::shared().setAskedToBeDefault(true);
            auto *box = new QMessageBox(QMessageBox::Question, QStringLiteral("Lumo"),
                                        tr("Open Markdown files with Lumo?"), QMessageBox::NoButton,
                                        window);
            box->setInformativeText(tr("Double-clicking any .md file will open it here. You "
                                       "can change this later in Settings."));
            QPushButton *make = box->addButton(tr("Make Default"), QMessageBox::AcceptRole);
            box->addButton(tr("Not Now"), QMessageBox::RejectRole);
            box->setDefaultButton(make);
            box->setWindowModality(Qt::WindowModal);
            box->setAttribute(Qt::WA_DeleteOnClose);
            QObject::connect(box, &QMessageBox::buttonClicked, box,
                             [make](QAbstractButton *button) {
                                 if (button == make)
                                     DefaultApp::makeDefault();
                             });
            box->open();
        });
    });
}

} // namespace DesktopCommands

} // namespace Lumo::App
