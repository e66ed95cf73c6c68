#include "SettingsWindow.h"

#include "base/Brand.h"
#include "base/Preferences.h"
#include "base/TextScale.h"
#include "DefaultApp.h"
#include "document/CustomCSS.h"
#include "ReaderPreferences.h"
#include "ThemeSwatch.h"

#include <algorithm>
#include <cmath>
#include <QAction>
#include <QButtonGroup>
#include <QCheckBox>
#include <QEvent>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QSlider>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

namespace Lumo::App {

using Lumo::Base::Preferences;
using Lumo::Document::CustomCSS;
namespace Brand = Lumo::Base::Brand;
namespace TextScale = Lumo::Base::TextScale;

namespace {

// The slider works in tenths: 7 ... 20 for 0.7 ... 2.0.
constexpr int sliderMinimum = 7;
constexpr int sliderMaximum = 20;

int sliderPosition(double scale)
{
    const long tenths = std::lround(scale * 10.0);
    return static_cast<int>(std::clamp<long>(tenths, sliderMinimum, sliderMaximum));
}

// Checks the button with the id, or none when id is -1: an exclusive group refuses to
// be left empty, so exclusivity is lifted while the checked button is cleared.
void checkOnly(QButtonGroup *group, int id)
{
    if (QAbstractButton *button = group->button(id)) {
        button->setChecked(true);
        return;
    }
    if (QAbstractButton *checked = group->checkedButton()) {
        group->setExclusive(false);
        checked->setChecked(false);
        group->setExclusive(true);
    }
}

template <typename Choice> int idFor(const QString &raw)
{
    const auto found = Choice::fromRawValue(raw);
    return found ? static_cast<int>(*found) : -1;
}

// A row of checkable segments, one per case, in case order; the button ids are the
// case values so a click maps straight back to a case.
template <typename Choice> QButtonGroup *addSegments(QWidget *row, const QString &accessibleName)
{
    auto *group = new QButtonGroup(row);
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    const auto cases = Choice::allCases();
    for (qsizetype i = 0; i < cases.size(); ++i) {
        auto *segment = new QToolButton(row);
        segment->setText(Choice::displayName(cases.at(i)));
        segment->setCheckable(true);
        segment->setFocusPolicy(Qt::StrongFocus);
        segment->setToolButtonStyle(Qt::ToolButtonTextOnly);
        segment->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
        segment->setProperty("position", i == 0                  ? QStringLiteral("first")
                                         : i == cases.size() - 1 ? QStringLiteral("last")
                                                                 : QStringLiteral("middle"));
        group->addButton(segment, static_cast<int>(cases.at(i)));
        layout->addWidget(segment);
    }
    row->setAccessibleName(accessibleName);
    return group;
}

// Segments as one rounded control, the chosen one filled with the accent. The sheet
// names its colours outright: a style sheet stops palette propagation to the widgets
// it styles, so palette(highlight) would give the style's blue, not the window's tint.
QString segmentStyle(const QPalette &palette)
{
    // The dark appearance's accent is light; white text on it would barely show.
    const QColor accent = palette.color(QPalette::Highlight);
    const QColor onAccent = accent.lightnessF() > 0.6 ? QColor(0x10, 0x18, 0x24) : Qt::white;
    return QStringLiteral(R"(
QToolButton {
    border: 1px solid %1;
    background: %2;
    color: %3;
    padding: 4px 16px;
    min-width: 56px;
}
QToolButton[position="middle"], QToolButton[position="last"] { border-left: none; }
QToolButton[position="first"] { border-top-left-radius: 6px; border-bottom-left-radius: 6px; }
QToolButton[position="last"] { border-top-right-radius: 6px; border-bottom-right-radius: 6px; }
QToolButton:hover { background: %4; }
QToolButton:focus { text-decoration: underline; }
QToolButton:checked { background: %5; color: %6; border-color: %5; }
)")
        .arg(palette.color(QPalette::Mid).name(), palette.color(QPalette::Button).name(),
             palette.color(QPalette::ButtonText).name(), palette.color(QPalette::Midlight).name(),
             palette.color(QPalette::Highlight).name(), onAccent.name());
}

// A titled section. The title is bold; the returned content widget, inside the
// frame, sets its weight back so the controls do not inherit the title's.
QWidget *addSection(QVBoxLayout *root, const QString &title)
{
    auto *box = new QGroupBox(title);
    QFont titleFont = box->font();
    titleFont.setWeight(QFont::DemiBold);
    box->setFont(titleFont);
    auto *frameLayout = new QVBoxLayout(box);
    frameLayout->setContentsMargins(0, 0, 0, 0);
    auto *content = new QWidget(box);
    QFont plain = titleFont;
    plain.setWeight(QFont::Normal);
    content->setFont(plain);
    frameLayout->addWidget(content);
    root->addWidget(box);
    return content;
}

QFormLayout *formIn(QWidget *content)
{
    auto *form = new QFormLayout(content);
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    form->setFormAlignment(Qt::AlignLeft | Qt::AlignTop);
    form->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    form->setRowWrapPolicy(QFormLayout::DontWrapRows);
    form->setHorizontalSpacing(14);
    form->setVerticalSpacing(10);
    form->setContentsMargins(16, 12, 16, 12);
    return form;
}

} // namespace

SettingsWindow::SettingsWindow(Preferences &preferences, QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_preferences(preferences)
{
    setWindowTitle(tr("Settings"));
    setObjectName(QStringLiteral("settingsWindow"));

    auto *root = new QVBoxLayout(this);
    root->setContentsMargins(20, 20, 20, 20);
    root->setSpacing(14);
    // A settings window has one right size; letting it grow only adds empty space.
    root->setSizeConstraint(QLayout::SetFixedSize);
    buildThemeSection(addSection(root, tr("Theme")));
    buildReadingSection(addSection(root, tr("Reading")));
    buildOpeningSection(addSection(root, tr("Opening files")));
    buildCustomCSSSection(addSection(root, tr("Custom CSS")));
    alignLabelColumns();

    auto *close = new QAction(this);
    close->setShortcuts({QKeySequence(Qt::Key_Escape), QKeySequence(Qt::CTRL | Qt::Key_W)});
    close->setShortcutContext(Qt::WindowShortcut);
    connect(close, &QAction::triggered, this, &QWidget::close);
    addAction(close);

    applyTint();

    connect(&m_preferences, &Preferences::themeChanged, this, &SettingsWindow::showTheme);
    connect(&m_preferences, &Preferences::readerFontChanged, this, &SettingsWindow::showReaderFont);
    connect(&m_preferences, &Preferences::readingWidthChanged, this,
            &SettingsWindow::showReadingWidth);
    connect(&m_preferences, &Preferences::textScaleChanged, this, &SettingsWindow::showTextScale);
    connect(&m_preferences, &Preferences::openInEditModeChanged, this,
            [this] { m_openInEditMode->setChecked(m_preferences.openInEditMode()); });
    connect(&m_preferences, &Preferences::useCustomCSSChanged, this,
            [this] { m_useCustomCSS->setChecked(m_preferences.useCustomCSS()); });
    connect(&m_preferences, &Preferences::loadRemoteImagesChanged, this,
            [this] { m_loadRemoteImages->setChecked(m_preferences.loadRemoteImages()); });

    showTheme();
    showReaderFont();
    showReadingWidth();
    showTextScale();
    m_openInEditMode->setChecked(m_preferences.openInEditMode());
    m_useCustomCSS->setChecked(m_preferences.useCustomCSS());
    m_loadRemoteImages->setChecked(m_preferences.loadRemoteImages());

    // Keyboard users start on the current theme, the way a radio group would.
    if (QAbstractButton *current = m_themes->checkedButton())
        current->setFocus();
}

void SettingsWindow::showShared()
{
    static QPointer<SettingsWindow> window;
    if (!window)
        window = new SettingsWindow(Preferences::shared());
    window->show();
    window->raise();
    window->activateWindow();
}

void SettingsWindow::buildThemeSection(QWidget *content)
{
    content->setObjectName(QStringLiteral("themePicker"));
    auto *row = new QHBoxLayout(content);
    row->setContentsMargins(16, 12, 16, 12);
    row->setSpacing(10);
    m_themes = new QButtonGroup(this);
    for (ReaderTheme::Case theme : ReaderTheme::allCases()) {
        auto *tile = new ThemeSwatchTile(theme, content);
        m_themes->addButton(tile, static_cast<int>(theme));
        row->addWidget(tile);
    }
    row->addStretch();
    // idClicked, unlike toggled, fires only for the user, so following a change made
    // elsewhere never writes it back.
    connect(m_themes, &QButtonGroup::idClicked, this, [this](int id) {
        m_preferences.setTheme(ReaderTheme::rawValue(static_cast<ReaderTheme::Case>(id)));
    });
}

void SettingsWindow::buildReadingSection(QWidget *content)
{
    QFormLayout *form = formIn(content);

    auto *fontRow = new QWidget(content);
    fontRow->setObjectName(QStringLiteral("fontPicker"));
    m_fonts = addSegments<ReaderFont>(fontRow, tr("Font"));
    form->addRow(tr("Font"), fontRow);
    connect(m_fonts, &QButtonGroup::idClicked, this, [this](int id) {
        m_preferences.setReaderFont(ReaderFont::rawValue(static_cast<ReaderFont::Case>(id)));
    });

    auto *widthRow = new QWidget(content);
    widthRow->setObjectName(QStringLiteral("widthPicker"));
    m_widths = addSegments<ReadingWidth>(widthRow, tr("Line width"));
    form->addRow(tr("Line width"), widthRow);
    connect(m_widths, &QButtonGroup::idClicked, this, [this](int id) {
        m_preferences.setReadingWidth(ReadingWidth::rawValue(static_cast<ReadingWidth::Case>(id)));
    });

    auto *sizeRow = new QWidget(content);
    auto *sizeLayout = new QHBoxLayout(sizeRow);
    sizeLayout->setContentsMargins(0, 0, 0, 0);
    sizeLayout->setSpacing(10);
    m_textSize = new QSlider(Qt::Horizontal, sizeRow);
    m_textSize->setObjectName(QStringLiteral("textSizeSlider"));
    m_textSize->setAccessibleName(tr("Text size"));
    m_textSize->setRange(sliderMinimum, sliderMaximum);
    m_textSize->setSingleStep(1);
    m_textSize->setPageStep(1);
    m_textSize->setTickPosition(QSlider::TicksBelow);
    m_textSize->setTickInterval(1);
    m_textSize->setMinimumWidth(220);
    m_textSizeLabel = new QLabel(sizeRow);
    m_textSizeLabel->setObjectName(QStringLiteral("textSizeLabel"));
    m_textSizeLabel->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    // Wide enough for the widest label so the slider does not shift as it moves.
    m_textSizeLabel->setMinimumWidth(m_textSizeLabel->fontMetrics().horizontalAdvance(
        TextScale::label(TextScale::maximum) + QLatin1Char(' ')));
    sizeLayout->addWidget(m_textSize);
    sizeLayout->addWidget(m_textSizeLabel);
    form->addRow(tr("Text size"), sizeRow);
    connect(m_textSize, &QSlider::valueChanged, this,
            [this](int tenths) { m_preferences.setTextScale(tenths / 10.0); });

    m_loadRemoteImages = new QCheckBox(tr("Load remote images"), content);
    m_loadRemoteImages->setObjectName(QStringLiteral("loadRemoteImages"));
    m_loadRemoteImages->setToolTip(
        tr("Off: a document cannot tell a web server that it was opened"));
    connect(m_loadRemoteImages, &QCheckBox::clicked, this,
            [this](bool on) { m_preferences.setLoadRemoteImages(on); });
    form->addRow(new QLabel(content), m_loadRemoteImages);
}

void SettingsWindow::buildOpeningSection(QWidget *content)
{
    QFormLayout *form = formIn(content);

    m_openInEditMode = new QCheckBox(tr("Open files in edit mode"), content);
    m_openInEditMode->setObjectName(QStringLiteral("openInEditMode"));
    form->addRow(new QLabel(content), m_openInEditMode);
    connect(m_openInEditMode, &QCheckBox::clicked, this,
            [this](bool on) { m_preferences.setOpenInEditMode(on); });

    auto *defaultRow = new QWidget(content);
    auto *defaultLayout = new QHBoxLayout(defaultRow);
    defaultLayout->setContentsMargins(0, 0, 0, 0);
    m_makeDefault = new QPushButton(tr("Make Default"), defaultRow);
    m_makeDefault->setObjectName(QStringLiteral("makeDefault"));
    // Becoming the default handler needs the installed desktop entry, which a build
    // tree does not have.
    if (!DefaultApp::isInstalledCopy()) {
        m_makeDefault->setEnabled(false);
        m_makeDefault->setToolTip(tr("Available in an installed Lumo"));
    }
    m_isDefault = new QLabel(defaultRow);
    m_isDefault->setObjectName(QStringLiteral("isDefault"));
    m_isDefault->setPixmap(QIcon::fromTheme(QStringLiteral("emblem-default"),
                                            style()->standardIcon(QStyle::SP_DialogApplyButton))
                               .pixmap(18, 18));
    m_isDefault->setToolTip(tr("Lumo opens Markdown files"));
    m_isDefault->hide();
    defaultLayout->addWidget(m_makeDefault);
    defaultLayout->addWidget(m_isDefault);
    defaultLayout->addStretch();
    form->addRow(tr("Default app for .md"), defaultRow);
    connect(m_makeDefault, &QPushButton::clicked, this, [this] {
        m_makeDefault->setEnabled(false);
        QPointer<SettingsWindow> self(this);
        DefaultApp::makeDefault([self] {
            if (self)
                self->showWhetherDefault();
        });
    });
}

void SettingsWindow::showWhetherDefault()
{
    QPointer<SettingsWindow> self(this);
    DefaultApp::isDefault([self](bool isOurs) {
        if (!self)
            return;
        self->m_isDefault->setVisible(isOurs);
        self->m_makeDefault->setVisible(!isOurs);
        self->m_makeDefault->setEnabled(DefaultApp::isInstalledCopy());
    });
}

void SettingsWindow::showEvent(QShowEvent *event)
{
    showWhetherDefault();
    QWidget::showEvent(event);
}

void SettingsWindow::buildCustomCSSSection(QWidget *content)
{
    QFormLayout *form = formIn(content);
    m_useCustomCSS = new QCheckBox(tr("Use custom CSS"), content);
    m_useCustomCSS->setObjectName(QStringLiteral("useCustomCSS"));
    connect(m_useCustomCSS, &QCheckBox::clicked, this,
            [this](bool on) { m_preferences.setUseCustomCSS(on); });
    form->addRow(new QLabel(content), m_useCustomCSS);

    auto *edit = new QPushButton(tr("Edit Custom CSS…"), content);
    connect(edit, &QPushButton::clicked, this,
            [this] { CustomCSS::shared().openForEditing(m_preferences); });
    form->addRow(new QLabel(content), edit);
}

void SettingsWindow::alignLabelColumns()
{
    // The sections are separate forms; one label width puts all controls on one edge.
    const QList<QFormLayout *> forms = findChildren<QFormLayout *>();
    QList<QWidget *> labels;
    int widest = 0;
    for (QFormLayout *form : forms) {
        for (int row = 0; row < form->rowCount(); ++row) {
            if (QLayoutItem *item = form->itemAt(row, QFormLayout::LabelRole)) {
                labels.append(item->widget());
                widest = std::max(widest, item->widget()->sizeHint().width());
            }
        }
    }
    for (QWidget *label : labels) {
        label->setMinimumWidth(widest);
        if (auto *text = qobject_cast<QLabel *>(label))
            text->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    }
}

void SettingsWindow::applyTint()
{
    QPalette tinted = palette();
    tinted.setColor(QPalette::Highlight, Brand::accent().current());
    setPalette(tinted);
    const QString sheet = segmentStyle(tinted);
    for (QButtonGroup *group : {m_fonts, m_widths}) {
        if (QAbstractButton *first = group->buttons().value(0))
            first->parentWidget()->setStyleSheet(sheet);
    }
}

void SettingsWindow::changeEvent(QEvent *event)
{
    // The accent has a light and a dark value; follow the desktop when it switches.
    if (event->type() == QEvent::ApplicationPaletteChange)
        applyTint();
    QWidget::changeEvent(event);
}

void SettingsWindow::showTheme()
{
    checkOnly(m_themes, idFor<ReaderTheme>(m_preferences.theme()));
}

void SettingsWindow::showReaderFont()
{
    checkOnly(m_fonts, idFor<ReaderFont>(m_preferences.readerFont()));
}

void SettingsWindow::showReadingWidth()
{
    checkOnly(m_widths, idFor<ReadingWidth>(m_preferences.readingWidth()));
}

void SettingsWindow::showTextScale()
{
    const double scale = m_preferences.textScale();
    // The slider can only sit on the grid; the label tells the stored value as it is.
    const QSignalBlocker quiet(m_textSize);
    m_textSize->setValue(sliderPosition(scale));
    m_textSizeLabel->setText(TextScale::label(scale));
}

} // namespace Lumo::App
