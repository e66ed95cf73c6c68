#include "FolderOpener.h"

#include "base/MarkdownNames.h"
#include "base/Preferences.h"
#include "document/TabPanels.h"
#include "DocumentTab.h"
#include "DocumentWindow.h"
#include "workspace/FolderOpenRules.h"
#include "workspace/Workspace.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>

namespace Lumo::App {

using Lumo::Base::Preferences;
namespace FolderOpenRules = Lumo::Workspace::FolderOpenRules;
namespace MarkdownNames = Lumo::Base::MarkdownNames;

namespace {

// Qt's own dialog, since the desktop's cannot take files and folders at once; the
// message sits under the file list.
void addMessage(QFileDialog *dialog, const QString &message)
{
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    dialog->setWindowTitle(QCoreApplication::translate("FolderOpener", "Open"));
    dialog->setLabelText(QFileDialog::Accept, QCoreApplication::translate("FolderOpener", "Open"));
    auto *label = new QLabel(message, dialog);
    label->setObjectName(QStringLiteral("openMessage"));
    label->setForegroundRole(QPalette::PlaceholderText);
    if (auto *grid = qobject_cast<QGridLayout *>(dialog->layout()))
        grid->addWidget(label, grid->rowCount(), 0, 1, grid->columnCount());
}

// In Qt's dialog, Open on a selected folder enters it; here it chooses it instead.
// Double-clicking a folder still enters it.
class FileOrFolderDialog : public QFileDialog
{
public:
    using QFileDialog::QFileDialog;

    void accept() override
    {
        const QStringList files = selectedFiles();
        if (files.size() == 1 && FolderOpenRules::isFolder(files.constFirst())) {
            Q_EMIT filesSelected(files);
            QDialog::accept();
            return;
        }
        QFileDialog::accept();
    }
};

} // namespace

namespace FolderOpener {

void open(const QString &folder, const QList<DocumentWindow *> &windows, QWidget *alertParent,
          std::function<void(const QString &)> openFile)
{
    const QString path = QDir::cleanPath(QFileInfo(folder).absoluteFilePath());
    Preferences &prefs = Preferences::shared();
    Lumo::Workspace::Workspace::remember(prefs, path);
    prefs.noteRecentDocument(path);
    prefs.setShowSidebar(true);

    for (DocumentWindow *window : windows) {
        QList<DocumentTab *> tabs = window->tabs();
        // The current tab first: it may already be the one to show.
        if (DocumentTab *current = window->currentTab()) {
            tabs.removeOne(current);
            tabs.prepend(current);
        }
        QStringList paths;
        for (const DocumentTab *tab : std::as_const(tabs))
            paths.append(tab->document()->path());
        if (const auto index = FolderOpenRules::showingDocument(path, paths)) {
            DocumentTab *tab = tabs.at(*index);
            tab->panels()->setSidebarVisible(true);
            window->showTab(tab);
            return;
        }
    }

    QPointer<QWidget> parent(alertParent);
    FolderOpenRules::findFirstFile(path, alertParent, [path, parent, openFile](auto file) {
        if (file) {
            openFile(*file);
            return;
        }
        auto *box = new QMessageBox(QMessageBox::Information, QStringLiteral("Lumo"),
                                    FolderOpenRules::noFilesText(path), QMessageBox::Ok, parent);
        box->setInformativeText(FolderOpenRules::noFilesDetail());
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setWindowModality(parent ? Qt::WindowModal : Qt::ApplicationModal);
        box->open();
    });
}

QFileDialog *openDialog(QWidget *parent)
{
    auto *dialog = new FileOrFolderDialog(
        parent, QString(), QString(),
        MarkdownNames::dialogFilter() + QStringLiteral(";;") +
            QCoreApplication::translate("FolderOpener", "Text (*.txt)") + QStringLiteral(";;") +
            QCoreApplication::translate("FolderOpener", "All files (*)"));
    dialog->setFileMode(QFileDialog::ExistingFiles);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    addMessage(dialog, FolderOpenRules::openDialogMessage());
    return dialog;
}

QFileDialog *folderDialog(QWidget *parent)
{
    auto *dialog = new QFileDialog(parent);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    addMessage(dialog, FolderOpenRules::chooseFolderMessage());
    return dialog;
}

bool acceptsFolders(const QFileDialog *dialog)
{
    return dynamic_cast<const FileOrFolderDialog *>(dialog) ||
           dialog->fileMode() == QFileDialog::Directory;
}

} // namespace FolderOpener

} // namespace Lumo::App
