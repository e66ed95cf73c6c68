#pragma once

#include <QWidget>

class QLabel;
class QVariantAnimation;
class QLineEdit;
class QListView;
class QProgressBar;
class QStackedWidget;

namespace Lumo::Search {

// A layer over a document tab for quick open and project search: a dimmed backdrop
// that closes the panel when clicked, and a card at the top centre holding a field,
// a list (or, in its place, a message under an icon) and a footer of key hints with
// a summary. The layer follows the tab's size. Keys typed in the field go to
// handleKey first, so arrows never move the field's cursor.
class PanelOverlay : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PanelOverlay)

public:
    explicit PanelOverlay(QWidget *tab);

    QLineEdit *field() const { return m_field; }
    QListView *list() const { return m_list; }
    // The card, for tests that click beside it.
    QWidget *card() const { return m_card; }
    // What the panel shows in place of the list, or an empty text for the list.
    QString message() const;
    QString summary() const;

    // Covers the tab, brings the panel in and focuses the field, cleared.
    void present();
    // Takes the panel out and hides it.
    void dismiss();

Q_SIGNALS:
    void closeRequested();

protected:
    enum class Key { Up, Down, Open, OpenInNewTab };
    virtual void handleKey(Key key) = 0;

    // Shows the list, or a message (with a busy bar while `busy`).
    void showList();
    void showMessage(const QString &text, bool busy = false);
    void setSummary(const QString &text);

    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;

private:
    void place();
    void fade(double from, double to);

    QVariantAnimation *m_fading;
    double m_shown = 0; // from 0 (hidden) to 1 (in place), as the panel comes and goes
    QWidget *m_card;
    QLineEdit *m_field;
    QStackedWidget *m_content;
    QListView *m_list;
    QLabel *m_message;
    QProgressBar *m_busy;
    QLabel *m_summary;
};

} // namespace Lumo::Search
