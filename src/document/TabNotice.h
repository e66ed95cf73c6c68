#pragma once

#include <QFrame>

class QLabel;

namespace Lumo::Document {

// A strip over a document that tells the reader something about it that needs no
// answer (its changes on disk cannot be watched, its preview failed). Hidden until
// given a message; an empty message hides it again.
class TabNotice final : public QFrame
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TabNotice)

public:
    explicit TabNotice(QWidget *parent = nullptr);

    void setMessage(const QString &message);
    QString message() const;

private:
    QLabel *m_label;
};

} // namespace Lumo::Document
