#include "PanelOverlay.h"

#include "base/Brand.h"

#include <algorithm>
#include <QApplication>
#include <QGraphicsDropShadowEffect>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPainter>
#include <QProgressBar>
#include <QStackedWidget>
#include <QStyle>
#include <QVariantAnimation>

namespace Lumo::Search {

using Lumo::Base::Appearance;
namespace Brand = Lumo::Base::Brand;

namespace {

constexpr int cardWidth = 640;
constexpr int cardTopMargin = 56;
constexpr int cardSideMargin = 24;
constexpr int fadeMilliseconds = 160;

QFrame *rule(QWidget *parent)
{
    auto *line = new QFrame(parent);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Plain);
    line->setForegroundRole(QPalette::Mid);
    return line;
}

// "↩ Open   Ctrl+↩ New tab   esc Close", keys in bold.
QLabel *hints(QWidget *parent)
{
    const QString hint = QStringLiteral("<b>%1</b>&nbsp;%2");
    auto *label = new QLabel(hint.arg(QStringLiteral("↩"), PanelOverlay::tr("Open")) +
                                 QStringLiteral("&nbsp;&nbsp; ") +
                                 hint.arg(PanelOverlay::tr("Ctrl+↩"), PanelOverlay::tr("New tab")) +
                                 QStringLiteral("&nbsp;&nbsp; ") +
                                 hint.arg(PanelOverlay::tr("esc"), PanelOverlay::tr("Close")),
                             parent);
    label->setTextFormat(Qt::RichText);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

} // namespace

PanelOverlay::PanelOverlay(QWidget *tab)
    : QWidget(tab)
    , m_fading(new QVariantAnimation(this))
    , m_card(new QFrame(this))
    , m_field(new QLineEdit(m_card))
    , m_content(new QStackedWidget(m_card))
    , m_list(new QListView(m_content))
    , m_message(new QLabel(m_content))
    , m_busy(new QProgressBar(m_content))
    , m_summary(new QLabel(m_card))
{
    hide();
    tab->installEventFilter(this);
    m_fading->setDuration(fadeMilliseconds);
    m_fading->setEasingCurve(QEasingCurve::OutCubic);
    connect(m_fading, &QVariantAnimation::valueChanged, this, [this](const QVariant &value) {
        m_shown = value.toDouble();
        place();
        update();
    });
    connect(m_fading, &QVariantAnimation::finished, this, [this] {
        if (m_fading->endValue().toDouble() == 0.0)
            hide();
    });

    m_card->setObjectName(QStringLiteral("panelCard"));
    m_card->setStyleSheet(QStringLiteral("QFrame#panelCard { background: palette(base); "
                                         "border: 1px solid palette(mid); border-radius: 10px; }"));
    auto *shadow = new QGraphicsDropShadowEffect(m_card);
    shadow->setBlurRadius(28);
    shadow->setOffset(0, 6);
    shadow->setColor(QColor(0, 0, 0, 90));
    m_card->setGraphicsEffect(shadow);

    m_field->setFrame(false);
    m_field->setTextMargins(6, 0, 0, 0);
    m_field->setClearButtonEnabled(true);
    m_field->addAction(QIcon::fromTheme(QStringLiteral("edit-find"),
                                        style()->standardIcon(QStyle::SP_FileDialogContentsView)),
                       QLineEdit::LeadingPosition);
    QFont larger = m_field->font();
    larger.setPointSizeF(larger.pointSizeF() * 1.25);
    m_field->setFont(larger);
    m_field->setMinimumHeight(QFontMetrics(larger).height() + 18);
    m_field->installEventFilter(this);

    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setFocusPolicy(Qt::NoFocus);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setMouseTracking(true);

    auto *messagePage = new QWidget(m_content);
    auto *icon = new QLabel(messagePage);
    icon->setPixmap(QIcon::fromTheme(QStringLiteral("system-search"),
                                     style()->standardIcon(QStyle::SP_FileDialogContentsView))
                        .pixmap(36, 36, QIcon::Disabled));
    icon->setAlignment(Qt::AlignCenter);
    m_message->setParent(messagePage);
    m_message->setAlignment(Qt::AlignCenter);
    m_message->setWordWrap(true);
    m_message->setForegroundRole(QPalette::PlaceholderText);
    m_busy->setParent(messagePage);
    m_busy->setRange(0, 0);
    m_busy->setTextVisible(false);
    m_busy->setFixedSize(160, 4);
    auto *messageLayout = new QVBoxLayout(messagePage);
    messageLayout->addStretch();
    messageLayout->addWidget(icon);
    messageLayout->addWidget(m_message);
    messageLayout->addWidget(m_busy, 0, Qt::AlignHCenter);
    messageLayout->addStretch();
    m_content->addWidget(m_list);
    m_content->addWidget(messagePage);

    m_summary->setForegroundRole(QPalette::PlaceholderText);
    auto *footer = new QHBoxLayout;
    footer->setContentsMargins(14, 6, 14, 8);
    footer->addWidget(hints(m_card));
    footer->addStretch();
    footer->addWidget(m_summary);

    auto *layout = new QVBoxLayout(m_card);
    layout->setContentsMargins(0, 4, 0, 0);
    layout->setSpacing(0);
    auto *fieldRow = new QHBoxLayout;
    fieldRow->setContentsMargins(10, 2, 10, 2);
    fieldRow->addWidget(m_field);
    layout->addLayout(fieldRow);
    layout->addWidget(rule(m_card));
    layout->addWidget(m_content, 1);
    layout->addWidget(rule(m_card));
    layout->addLayout(footer);
}

QString PanelOverlay::message() const
{
    return m_content->currentWidget() == m_list ? QString() : m_message->text();
}

QString PanelOverlay::summary() const
{
    return m_summary->text();
}

void PanelOverlay::present()
{
    m_field->clear();
    place();
    fade(isVisible() ? m_shown : 0.0, 1.0);
    show();
    raise();
    m_field->setFocus(Qt::PopupFocusReason);
}

void PanelOverlay::dismiss()
{
    if (isVisible())
        fade(m_shown, 0.0);
}

void PanelOverlay::fade(double from, double to)
{
    m_fading->stop();
    m_shown = from;
    m_fading->setStartValue(from);
    m_fading->setEndValue(to);
    m_fading->start();
}

void PanelOverlay::showList()
{
    m_content->setCurrentWidget(m_list);
}

void PanelOverlay::showMessage(const QString &text, bool busy)
{
    m_message->setText(text);
    m_busy->setVisible(busy);
    m_content->setCurrentIndex(1);
}

void PanelOverlay::setSummary(const QString &text)
{
    m_summary->setText(text);
}

void PanelOverlay::place()
{
    const QWidget *tab = parentWidget();
    setGeometry(tab->rect());
    const int width = std::min(cardWidth, tab->width() - 2 * cardSideMargin);
    const int height = std::clamp(tab->height() * 3 / 5, 220, std::max(220, tab->height() - 80));
    // The card drops into place as the panel comes in.
    const int slide = int((1.0 - m_shown) * -16);
    m_card->setGeometry((tab->width() - width) / 2,
                        std::min(cardTopMargin, tab->height() / 10) + slide, width, height);
}

bool PanelOverlay::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == parentWidget() && event->type() == QEvent::Resize && isVisible())
        place();
    if (watched != m_field || event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    const auto *key = static_cast<QKeyEvent *>(event);
    switch (key->key()) {
    case Qt::Key_Up:
        handleKey(Key::Up);
        return true;
    case Qt::Key_Down:
        handleKey(Key::Down);
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        handleKey(key->modifiers() & Qt::ControlModifier ? Key::OpenInNewTab : Key::Open);
        return true;
    case Qt::Key_Escape:
        Q_EMIT closeRequested();
        return true;
    default:
        return QWidget::eventFilter(watched, event);
    }
}

void PanelOverlay::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const bool dark = Brand::currentAppearance() == Appearance::Dark;
    painter.fillRect(rect(), QColor(0, 0, 0, int((dark ? 110 : 60) * m_shown)));
}

void PanelOverlay::mousePressEvent(QMouseEvent *event)
{
    if (!m_card->geometry().contains(event->position().toPoint()))
        Q_EMIT closeRequested();
}

} // namespace Lumo::Search
