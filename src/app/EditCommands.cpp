#include "EditCommands.h"

#include "DocumentTab.h"
#include "DocumentWindow.h"
#include "document/PreviewView.h"

#include <QApplication>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QWebEngineView>

namespace Lumo::App::EditCommands {
namespace {

struct Command
{
    const char *name;
    const char *text;
    QKeySequence::StandardKey key;
    QWebEnginePage::WebAction pageAction;
    void (*field)(QLineEdit *);
    void (*editor)(QPlainTextEdit *);
};

QWebEngineView *pageFor(QWidget *focus, DocumentWindow *window)
{
    for (QWidget *widget = focus; widget; widget = widget->parentWidget()) {
        if (auto *view = qobject_cast<QWebEngineView *>(widget))
            return view;
    }
    DocumentTab *tab = window->currentTab();
    return tab ? tab->view() : nullptr;
}

} // namespace

void create(DocumentWindow *window)
{
    static const Command commands[] = {
        {"undo", QT_TRANSLATE_NOOP("EditCommands", "&Undo"), QKeySequence::Undo,
         QWebEnginePage::Undo, [](QLineEdit *w) { w->undo(); },
         [](QPlainTextEdit *w) { w->undo(); }},
        {"redo", QT_TRANSLATE_NOOP("EditCommands", "&Redo"), QKeySequence::Redo,
         QWebEnginePage::Redo, [](QLineEdit *w) { w->redo(); },
         [](QPlainTextEdit *w) { w->redo(); }},
        {"cut", QT_TRANSLATE_NOOP("EditCommands", "Cu&t"), QKeySequence::Cut, QWebEnginePage::Cut,
         [](QLineEdit *w) { w->cut(); }, [](QPlainTextEdit *w) { w->cut(); }},
        {"copy", QT_TRANSLATE_NOOP("EditCommands", "&Copy"), QKeySequence::Copy,
         QWebEnginePage::Copy, [](QLineEdit *w) { w->copy(); },
         [](QPlainTextEdit *w) { w->copy(); }},
        {"paste", QT_TRANSLATE_NOOP("EditCommands", "&Paste"), QKeySequence::Paste,
         QWebEnginePage::Paste, [](QLineEdit *w) { w->paste(); },
         [](QPlainTextEdit *w) { w->paste(); }},
        {"selectAll", QT_TRANSLATE_NOOP("EditCommands", "Select &All"), QKeySequence::SelectAll,
         QWebEnginePage::SelectAll, [](QLineEdit *w) { w->selectAll(); },
         [](QPlainTextEdit *w) { w->selectAll(); }},
    };
    for (const Command &command : commands) {
        auto *action =
            new QAction(QCoreApplication::translate("EditCommands", command.text), window);
        action->setObjectName(QLatin1String(command.name));
        action->setShortcut(command.key);
        QObject::connect(action, &QAction::triggered, window, [window, &command] {
            QWidget *focus = QApplication::focusWidget();
            if (auto *field = qobject_cast<QLineEdit *>(focus))
                command.field(field);
            else if (auto *editor = qobject_cast<QPlainTextEdit *>(focus))
                command.editor(editor);
            else if (QWebEngineView *page = pageFor(focus, window))
                page->triggerPageAction(command.pageAction);
        });
    }
}

} // namespace Lumo::App::EditCommands
