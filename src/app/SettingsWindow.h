#pragma once

#include <QWidget>

namespace Lumo::Base {
class Preferences;
}
class QButtonGroup;
class QCheckBox;
class QLabel;
class QPushButton;
class QSlider;

namespace Lumo::App {

// The Settings window: theme, reading, opening-files and custom-stylesheet sections.
// Every control writes its preference as soon as it is used and follows the
// preference when something else (a menu command, another window) changes it.
class SettingsWindow final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SettingsWindow)

public:
    explicit SettingsWindow(Lumo::Base::Preferences &preferences, QWidget *parent = nullptr);

    // Shows the application's one Settings window, creating it on first use.
    static void showShared();

protected:
    void changeEvent(QEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void buildThemeSection(QWidget *content);
    void buildReadingSection(QWidget *content);
    void buildOpeningSection(QWidget *content);
    void buildCustomCSSSection(QWidget *content);
    void alignLabelColumns();
    void applyTint();
    // Asks the desktop whether Lumo is the default, then shows the check or the button.
    void showWhetherDefault();

    void showTheme();
    void showReaderFont();
    void showReadingWidth();
    void showTextScale();

    Lumo::Base::Preferences &m_preferences;
    QButtonGroup *m_themes = nullptr;
    QButtonGroup *m_fonts = nullptr;
    QButtonGroup *m_widths = nullptr;
    QSlider *m_textSize = nullptr;
    QLabel *m_textSizeLabel = nullptr;
    QCheckBox *m_openInEditMode = nullptr;
    QPushButton *m_makeDefault = nullptr;
    QLabel *m_isDefault = nullptr;
    QCheckBox *m_useCustomCSS = nullptr;
    QCheckBox *m_loadRemoteImages = nullptr;
};

} // namespace Lumo::App
