#include "FindBar.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>

namespace Lumo::Document {

FindBar::FindBar(bool incremental, QWidget *parent)
    : QFrame(parent)
    , m_field(new QLineEdit(this))
    , m_count(new QLabel(this))
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
    m_count->hide();
    const auto stepButton = [this](const char *iconName, const QString &name, const QString &tip,
                                   bool backwards) {
        auto *button = new QToolButton(this);
        button->setIcon(QIcon::fromTheme(QLatin1String(iconName)));
        button->setArrowType(backwards ? Qt::UpArrow : Qt::DownArrow);
        button->setAccessibleName(name);
        button->setToolTip(tip);
        button->setAutoRaise(true);
        connect(button, &QToolButton::clicked, this,
                [this, backwards] { Q_EMIT searchRequested(m_field->text(), backwards); });
        return button;
    };
    QToolButton *previous =
        stepButton("go-up", tr("Previous match"), tr("Previous match (Shift+F3)"), true);
    QToolButton *next = stepButton("go-down", tr("Next match"), tr("Next match (F3)"), false);
    auto *done = new QPushButton(tr("Done"), this);
    done->setAutoDefault(false);

    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(10, 4, 6, 4);
    row->addWidget(icon);
    row->addWidget(m_field, 1);
    row->addWidget(m_count);
    row->addWidget(previous);
    row->addWidget(next);
    row->addWidget(done);

    connect(done, &QPushButton::clicked, this, &FindBar::closeRequested);
    connect(m_field, &QLineEdit::textChanged, m_count, &QWidget::hide);
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

void FindBar::setCount(int active, int matches)
{
    m_count->setText(matches > 0 ? tr("%1 of %2").arg(active).arg(matches) : tr("Not found"));
    m_count->setVisible(!m_field->text().isEmpty());
    setFound(matches > 0);
}

QString FindBar::countText() const
{
    return m_count->isVisible() ? m_count->text() : QString();
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

} // namespace Lumo::Document
