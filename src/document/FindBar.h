#pragma once

#include <QFrame>

class QLabel;
class QLineEdit;

namespace Lumo::Document {

// A small search bar: a field with the placeholder "Find", a clear button, the match
// count, previous and next buttons, and "Done" (or Escape) to close it. Return
// searches forward, Shift+Return backward; an incremental bar also searches as the
// text changes.
class FindBar final : public QFrame
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FindBar)

public:
    explicit FindBar(bool incremental, QWidget *parent = nullptr);

    QString text() const;
    // Shows the bar with the focus in its field, the text selected.
    void open();
    // Marks the field when the last search found nothing.
    void setFound(bool found);
    // Shows "n of m" beside the field, and marks it when nothing matched.
    void setCount(int active, int matches);
    QString countText() const;

Q_SIGNALS:
    void searchRequested(const QString &text, bool backwards);
    // An incremental bar's text was changed by typing.
    void textTyped(const QString &text);
    void closeRequested();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QLineEdit *m_field;
    QLabel *m_count;
};

} // namespace Lumo::Document
