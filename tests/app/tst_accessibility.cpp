// What a screen reader finds in a document window: every control the keyboard can
// reach has a name and a role, and so has every row of its lists.
#include "app/DocumentTab.h"
#include "app/DocumentWindow.h"
#include "app/WindowMenus.h"
#include "document/TabPanels.h"
#include "support/WebTest.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QDir>
#include <QFile>
#include <QWidget>

using namespace Lumo::App;
using namespace Lumo::Document;

using namespace Qt::StringLiterals;

class TestAccessibility : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyControlHasANameAndRole_data();
    void everyControlHasANameAndRole();

private:
    QTemporaryDir m_folder;
};

namespace {

QString describe(const QWidget *widget)
{
    QString path;
    for (const QWidget *w = widget; w; w = w->parentWidget())
        path.prepend(u'/' + QString::fromLatin1(w->metaObject()->className()) +
                     (w->objectName().isEmpty() ? QString() : u'#' + w->objectName()));
    return path;
}

bool reachable(const QWidget *widget)
{
    return widget->isVisible() && widget->isEnabled() && widget->focusPolicy() != Qt::NoFocus &&
           !widget->focusProxy();
}

// Reachable controls without an accessible name or role, and rows of visible lists
// (which the keyboard walks from a search field) without a name, as readable paths.
QStringList unnamed()
{
    QStringList found;
    for (QWidget *widget : QApplication::allWidgets()) {
        auto *view = qobject_cast<QAbstractItemView *>(widget);
        const bool list = view && view->isVisible() && view->model();
        if (!reachable(widget) && !list)
            continue;
        QAccessibleInterface *control = QAccessible::queryAccessibleInterface(widget);
        if (!control || control->text(QAccessible::Name).trimmed().isEmpty()) {
            found.append(describe(widget) + u" has no name"_s);
            continue;
        }
        if (control->role() == QAccessible::NoRole)
            found.append(describe(widget) + u" has no role"_s);
        if (!list)
            continue;
        for (int i = 0; i < control->childCount(); ++i) {
            QAccessibleInterface *row = control->child(i);
            if (!row || row->role() == QAccessible::ColumnHeader ||
                row->role() == QAccessible::RowHeader || row->state().invisible)
                continue;
            if (row->text(QAccessible::Name).trimmed().isEmpty())
                found.append(describe(widget) + u" row %1 has no name"_s.arg(i));
        }
    }
    return found;
}

} // namespace

void TestAccessibility::initTestCase()
{
    QAccessible::setActive(true);
    const QDir folder(m_folder.path());
    QVERIFY(folder.mkpath(u"guides"_s));
    for (const QString &name : {u"notes.md"_s, u"guides/setup.md"_s, u"todo.md"_s}) {
        QFile file(folder.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("# Heading\n\nSome text about setup.\n\n## Second\n");
    }
}

void TestAccessibility::everyControlHasANameAndRole_data()
{
    QTest::addColumn<QString>("furniture");
    QTest::newRow("reading") << u"reading"_s;
    QTest::newRow("editing") << u"editing"_s;
    QTest::newRow("sidebar, find bar and banner") << u"sidebar"_s;
    QTest::newRow("outline") << u"outline"_s;
    QTest::newRow("quick open") << u"quickOpen"_s;
    QTest::newRow("search") << u"search"_s;
}

void TestAccessibility::everyControlHasANameAndRole()
{
    QFETCH(QString, furniture);
    DocumentWindow window;
    WindowMenus::build(&window);
    window.resize(1000, 700);
    window.show();
    QString error;
    OpenDocument *document = OpenDocument::open(m_folder.filePath(u"notes.md"_s), &error);
    QVERIFY2(document, qPrintable(error));
    DocumentTab *tab = window.addDocument(document);
    DocumentController *controller = tab->controller();
    QSignalSpy rendered(controller, &DocumentController::renderCompleted);
    QTRY_VERIFY_WITH_TIMEOUT(rendered.count() > 0, 20000);

    if (furniture == u"editing"_s) {
        controller->toggleMode();
    } else if (furniture == u"sidebar"_s) {
        tab->panels()->setSidebarVisible(true);
        tab->panels()->setShowFind(true);
        controller->setDiskChangePending(true);
        QTRY_VERIFY(!controller->sidebarRoot().isEmpty());
    } else if (furniture == u"outline"_s) {
        QTRY_VERIFY(!controller->outline().isEmpty());
        tab->panels()->setShowOutline(true);
    } else if (furniture == u"quickOpen"_s) {
        tab->panels()->setShowQuickOpen(true);
    } else if (furniture == u"search"_s) {
        tab->panels()->setShowSearch(true);
        QTest::keyClicks(QApplication::focusWidget(), u"setup"_s);
    }
    QTest::qWait(1500);
    const QStringList problems = unnamed();
    QVERIFY2(problems.isEmpty(), qPrintable(problems.join(u'\n')));
}

LUMO_WEB_TEST_MAIN(TestAccessibility)
#include "tst_accessibility.moc"
