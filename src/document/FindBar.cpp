#include "FindBar.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

FindBar::FindBar(bool incremental, QWidget *parent)
    : QFrame(parent)
    , m_field(new QLineEdit(this))
{
    setObjectName(QStringLiteral("findBar"));
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);

    auto *icon = new QLabel(this);
    icon->setPixmap(QIcon::fromTheme(QStringLiteral("edit-find")).pixmap(16, 16));
    setAccessibleName(tr("Find bar"));
    m_field->setPlaceholderText(tr("Find"));
    m_field->setAccessibleName(tr("Find"));
    m_field->setClearButtonEnabled(true);
    m_field->installEventFilter(this);
    auto *done = new QPushButton(tr("Done"), this);
    done->setAutoDefault(false);

    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(10, 4, 6, 4);
    row->addWidget(icon);
    row->addWidget(m_field, 1);
    row->addWidget(done);

    connect(done, &QPushButton::clicked, this, &FindBar::closeRequested);
    if (incremental)
        connect(m_field, &QLineEdit::textEdited, this, &FindBar::textTyped);
}

QString FindBar::text() const
{
    return m_field->text();
}

void FindBar::open()
{
    show();
    m_field->setFocus();
    m_field->selectAll();
}

void FindBar::setFound(bool found)
{
    // A tint of red over the field's own colour reads in light and dark alike.
    const QColor base = QApplication::palette().color(QPalette::Base);
    const QColor red(0xE0, 0x40, 0x40);
    const auto mix = [](int a, int b) { return (a * 3 + b) / 4; };
    QPalette palette = m_field->palette();
    palette.setColor(QPalette::Base,
                     found || m_field->text().isEmpty()
                         ? base
                         : QColor(mix(base.red(), red.red()), mix(base.green(), red.green()),
                                  mix(base.blue(), red.blue())));
    m_field->setPalette(palette);
}

bool FindBar::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_field && event->type() == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (key->key() == Qt::Key_Escape) {
            Q_EMIT closeRequested();
            return true;
        }
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            Q_EMIT searchRequested(m_field->text(), key->modifiers() & Qt::ShiftModifier);
            return true;
        }
    }
    return QFrame::eventFilter(watched, event);
}
