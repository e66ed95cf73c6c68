#include "WindowKeysFirst.h"

#include <QAction>
#include <QEvent>
#include <QKeyEvent>
#include <QLineEdit>

namespace Lumo::Base::WindowKeysFirst {
namespace {

bool isTextKey(const QKeyEvent *key)
{
    for (const auto standard : {QKeySequence::Undo, QKeySequence::Redo, QKeySequence::Cut,
                                QKeySequence::Copy, QKeySequence::Paste, QKeySequence::SelectAll}) {
        if (key->matches(standard))
            return true;
    }
    return false;
}

bool isWindowCommand(const QWidget *field, const QKeySequence &pressed)
{
    const QList<QAction *> actions = field->window()->findChildren<QAction *>();
    return std::any_of(actions.cbegin(), actions.cend(), [&](const QAction *action) {
        return action->isEnabled() && action->shortcuts().contains(pressed);
    });
}

class Filter final : public QObject
{
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() != QEvent::ShortcutOverride)
            return false;
        const auto *key = static_cast<QKeyEvent *>(event);
        if (key->modifiers() == Qt::NoModifier || isTextKey(key) ||
            !isWindowCommand(static_cast<QWidget *>(watched), QKeySequence(key->keyCombination())))
            return false;
        // Unaccepted, the override lets the window's shortcut fire.
        event->ignore();
        return true;
    }
};

} // namespace

void install(QLineEdit *field)
{
    field->installEventFilter(new Filter(field));
}

} // namespace Lumo::Base::WindowKeysFirst
