#include "FormatMenu.h"

#include "EditorView.h"

#include <QAction>
#include <QCoreApplication>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

namespace {

const QString menuName = QStringLiteral("formatMenu");

QString tr(const char *text)
{
    return QCoreApplication::translate("FormatMenu", text);
}

} // namespace

void addFormatMenu(QMainWindow *window, std::function<EditorView *()> editor)
{
    QMenu *menu = window->menuBar()->addMenu(tr("F&ormat"));
    menu->setObjectName(menuName);
    const auto add = [&](const QString &text, const QKeySequence &shortcut,
                         std::function<void(EditorView *)> action) {
        QAction *item = menu->addAction(text);
        item->setShortcut(shortcut);
        QObject::connect(item, &QAction::triggered, window, [editor, action] {
            if (EditorView *view = editor())
                action(view);
        });
    };
    const auto wrap = [](const QString &marker) {
        return [marker](EditorView *view) { view->toggleWrap(marker); };
    };
    add(tr("&Bold"), QKeySequence::Bold, wrap(QStringLiteral("**")));
    add(tr("&Italic"), QKeySequence::Italic, wrap(QStringLiteral("*")));
    add(tr("&Strikethrough"), QKeySequence(tr("Ctrl+Shift+X")), wrap(QStringLiteral("~~")));
    add(tr("&Code"), QKeySequence(tr("Ctrl+Shift+K")), wrap(QStringLiteral("`")));
    add(tr("&Link"), QKeySequence(tr("Ctrl+K")), [](EditorView *view) { view->insertLink(); });
    updateFormatMenu(window, false);
}

void updateFormatMenu(QMainWindow *window, bool editing)
{
    if (auto *menu = window->menuBar()->findChild<QMenu *>(menuName)) {
        for (QAction *item : menu->actions())
            item->setEnabled(editing);
    }
}
