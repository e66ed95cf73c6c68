#pragma once

#include <QObject>
#include <QString>

class QWebEngineView;

namespace Lumo::Document {

// Gives a web view's page an accessible name. The engine draws the page in a child
// widget it creates late, which takes the keyboard focus in the view's place; that
// widget is named whenever the view gains one. Lives as long as the view.
class PageAccessibleName final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PageAccessibleName)

public:
    PageAccessibleName(QWebEngineView *view, const QString &name);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void apply();

    QWebEngineView *m_view;
    QString m_name;
};

} // namespace Lumo::Document
