#include "FormatMenu.h"

#include "EditorView.h"

#include <QAction>
#include <QCoreApplication>

namespace Lumo::Editor {

namespace {

const char *const commandNames[] = {"bold", "italic", "strikethrough", "code", "link"};

QString tr(const char *text)
{
    return QCoreApplication::translate("FormatMenu", text);
}

} // namespace

void addFormatCommands(QWidget *window, std::function<EditorView *()> editor)
{
    int named = 0;
    const auto add = [&](const QString &text, const QKeySequence &shortcut,
                         std::function<void(EditorView *)> action) {
        auto *item = new QAction(text, window);
        item->setObjectName(QLatin1String(commandNames[named++]));
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
    updateFormatCommands(window, false);
}

void updateFormatCommands(QWidget *window, bool editing)
{
    for (const char *name : commandNames) {
        if (auto *item =
                window->findChild<QAction *>(QLatin1String(name), Qt::FindDirectChildrenOnly))
            item->setEnabled(editing);
    }
}

} // namespace Lumo::Editor
