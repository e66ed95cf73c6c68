#include "HelpMenu.h"

#include "base/ResourcePaths.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QTableWidget>
#include <QVBoxLayout>

namespace Lumo::App {

namespace ResourcePaths = Lumo::Base::ResourcePaths;

namespace HelpMenu {
namespace {

QDialog *dialog(QMainWindow *window, const QString &title)
{
    auto *box = new QDialog(window);
    box->setWindowTitle(title);
    box->setAttribute(Qt::WA_DeleteOnClose);
    auto *layout = new QVBoxLayout(box);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, box);
    QObject::connect(buttons, &QDialogButtonBox::rejected, box, &QDialog::reject);
    layout->addWidget(buttons);
    return box;
}

void place(QDialog *box, QWidget *content, int stretch)
{
    auto *layout = static_cast<QVBoxLayout *>(box->layout());
    layout->insertWidget(layout->count() - 1, content, stretch);
}

void showAbout(QMainWindow *window)
{
    QDialog *box = dialog(window, QCoreApplication::translate("HelpMenu", "About Lumo"));
    auto *heading = new QLabel(
        QCoreApplication::translate("HelpMenu", "<h2>Lumo %1</h2><p>A reader and light editor "
                                                "for Markdown.</p><p>The page is typeset with "
                                                "these libraries, under their licences:</p>")
            .arg(QApplication::applicationVersion().toHtmlEscaped()),
        box);
    heading->setTextFormat(Qt::RichText);
    place(box, heading, 0);
    auto *licences = new QPlainTextEdit(box);
    licences->setReadOnly(true);
    QFile file(ResourcePaths::file(QStringLiteral("Web/licenses.txt")));
    licences->setPlainText(
        file.open(QIODevice::ReadOnly)
            ? QString::fromUtf8(file.readAll())
            : QCoreApplication::translate("HelpMenu", "The licence texts are missing."));
    place(box, licences, 1);
    box->resize(640, 560);
    box->open();
}

// Every command of the menus that has a key, menu by menu.
void collect(const QMenu *menu, const QString &path, QList<std::pair<QString, QString>> &rows)
{
    for (const QAction *action : menu->actions()) {
        const QString name = path + QString(action->text()).remove(u'&');
        if (action->menu())
            collect(action->menu(), name + QStringLiteral(" → "), rows);
        else if (!action->shortcuts().isEmpty()) {
            QStringList keys;
            for (const QKeySequence &key : action->shortcuts())
                keys.append(key.toString(QKeySequence::NativeText));
            rows.append({name, keys.join(QStringLiteral(", "))});
        }
    }
}

void showShortcuts(QMainWindow *window)
{
    QDialog *box = dialog(window, QCoreApplication::translate("HelpMenu", "Keyboard Shortcuts"));
    QList<std::pair<QString, QString>> rows;
    for (const QAction *action : window->menuBar()->actions()) {
        if (action->menu())
            collect(action->menu(), QString(action->text()).remove(u'&') + QStringLiteral(" → "),
                    rows);
    }
    auto *table = new QTableWidget(static_cast<int>(rows.size()), 2, box);
    table->setHorizontalHeaderLabels({QCoreApplication::translate("HelpMenu", "Command"),
                                      QCoreApplication::translate("HelpMenu", "Keys")});
    for (int i = 0; i < rows.size(); ++i) {
        table->setItem(i, 0, new QTableWidgetItem(rows.at(i).first));
        table->setItem(i, 1, new QTableWidgetItem(rows.at(i).second));
    }
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->verticalHeader()->hide();
    table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    place(box, table, 1);
    box->resize(560, 620);
    box->open();
    table->setFocus();
}

} // namespace

void create(QMainWindow *window)
{
    auto *shortcuts =
        new QAction(QCoreApplication::translate("HelpMenu", "&Keyboard Shortcuts"), window);
    shortcuts->setObjectName(QStringLiteral("keyboardShortcuts"));
    shortcuts->setShortcut(QKeySequence(QCoreApplication::translate("HelpMenu", "Ctrl+/")));
    QObject::connect(shortcuts, &QAction::triggered, window, [window] { showShortcuts(window); });
    auto *about = new QAction(QCoreApplication::translate("HelpMenu", "&About Lumo"), window);
    about->setObjectName(QStringLiteral("about"));
    about->setMenuRole(QAction::AboutRole);
    QObject::connect(about, &QAction::triggered, window, [window] { showAbout(window); });
}

} // namespace HelpMenu

} // namespace Lumo::App
