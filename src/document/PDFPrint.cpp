#include "PDFPrint.h"

#include "base/Background.h"
#include "PageScript.h"
#include "PDFBackground.h"
#include "PDFInfo.h"
#include "PDFOutline.h"
#include "PreviewPage.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QLocale>
#include <QPageSize>
#include <QPointer>
#include <QSaveFile>
#include <QWebEngineScript>
#include <QWebEngineView>

namespace Lumo::Document {

using Lumo::Base::Appearance;
using Lumo::Base::runInBackground;

namespace PDFPrint {

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("PDFPrint", text);
}

// The print engine writes a named destination only for elements that some link
// points at; hidden links to every heading give each one its destination (and so
// its bookmark). Answers the page colour of the appearance now in force and the
// headings as printed.
const QString prepareScript = QStringLiteral(R"JS((() => {
  document.getElementById('lumo-print-targets')?.remove();
  const box = document.createElement('div');
  box.id = 'lumo-print-targets';
  box.hidden = true;
  const headings = [];
  for (const heading of document.querySelectorAll('main.markdown :is(h1, h2, h3, h4, h5, h6)[id]')) {
    const link = document.createElement('a');
    link.href = '#' + heading.id;
    box.append(link);
    headings.push({ level: Number(heading.tagName.slice(1)), text: heading.textContent.trim(), id: heading.id });
  }
  // A user stylesheet may give the colour in any CSS form; the engine resolves it.
  const probe = document.createElement('span');
  probe.style.color = 'var(--bg)';
  box.append(probe);
  document.body.append(box);
  const background = getComputedStyle(document.documentElement).getPropertyValue('--bg').trim();
  return {
    title: document.title,
    background: /^#[0-9a-f]{6}$/i.test(background) ? background : getComputedStyle(probe).color,
    headings,
  };
})())JS");

const QString restoreScript =
    QStringLiteral("document.getElementById('lumo-print-targets')?.remove();\n"
                   "mv.endPrint();");

QString modeName(Appearance appearance)
{
    return appearance == Appearance::Dark ? QStringLiteral("dark") : QStringLiteral("light");
}

struct Outcome
{
    bool ok;
    QString error;
};

// Off the main thread: paint, add bookmarks, write.
Outcome finish(const QByteArray &printed, const QString &path, const QString &background,
               const QList<OutlineItem> &headings, const QString &title)
{
    QByteArray pdf = printed;
    QString error;
    if (!background.isEmpty()) {
        const std::optional<QColor> colour = PDFBackground::color(background);
        const std::optional<QByteArray> painted =
            colour ? PDFBackground::fill(pdf, *colour, &error) : std::nullopt;
        if (!painted)
            return {false,
                    colour ? error : tr("The page colour “%1” is not a colour.").arg(background)};
        pdf = *painted;
    }
    if (const std::optional<QByteArray> outlined = PDFOutline::add(pdf, headings, &error))
        pdf = *outlined;
    if (const std::optional<QByteArray> titled = PDFInfo::withTitle(pdf, title, &error))
        pdf = *titled;
    QSaveFile file(path);
    const bool ok =
        file.open(QIODevice::WriteOnly) && file.write(pdf) == pdf.size() && file.commit();
    return {ok, ok ? QString() : file.errorString()};
}

} // namespace

QPageLayout pageLayout()
{
    const QPageSize::PageSizeId size = QLocale().measurementSystem() == QLocale::ImperialUSSystem
                                           ? QPageSize::Letter
                                           : QPageSize::A4;
    return QPageLayout(QPageSize(size), QPageLayout::Portrait, QMarginsF(15, 15, 15, 15),
                       QPageLayout::Millimeter);
}

void toFile(PreviewPage *page, const QString &path, Appearance appearance, Done done)
{
    QPointer<PreviewPage> guard(page);
    const auto restore = [guard] {
        if (guard)
            guard->call(restoreScript);
    };
    const auto fail = [restore, done](const QString &error) {
        restore();
        done(false, error);
    };
    page->callAwaited(
        QStringLiteral("prepareForPrint"), PageScript::json(modeName(appearance)),
        [guard, path, appearance, done, restore, fail](const QJsonValue &, const QString &error) {
            if (!error.isEmpty() || !guard) {
                fail(error.isEmpty() ? tr("The page went away.") : error);
                return;
            }
            guard->runJavaScript(
                prepareScript, QWebEngineScript::MainWorld,
                [guard, path, appearance, done, restore, fail](const QVariant &answer) {
                    if (!guard) {
                        fail(tr("The page went away."));
                        return;
                    }
                    const QVariantMap prepared = answer.toMap();
                    const QString background =
                        appearance == Appearance::Dark
                            ? prepared.value(QStringLiteral("background")).toString()
                            : QString();
                    const QList<OutlineItem> headings =
                        OutlineItem::fromMessage(QJsonArray::fromVariantList(
                            prepared.value(QStringLiteral("headings")).toList()));
                    const QString title = prepared.value(QStringLiteral("title")).toString();
                    guard->printToPdf(
                        [path, background, headings, title, done, restore](const QByteArray &pdf) {
                            restore();
                            if (pdf.isEmpty()) {
                                done(false, tr("The page could not be printed."));
                                return;
                            }
                            runInBackground(
                                QCoreApplication::instance(),
                                [pdf, path, background, headings, title] {
                                    return finish(pdf, path, background, headings, title);
                                },
                                [done](const Outcome &outcome) {
                                    done(outcome.ok, outcome.error);
                                });
                        },
                        pageLayout());
                });
        });
}

void toPrinter(QWebEngineView *view, QPrinter *printer, Done done)
{
    QPointer<QWebEngineView> guard(view);
    const auto restore = [guard] {
        if (guard)
            static_cast<PreviewPage *>(guard->page())->call(restoreScript);
    };
    static_cast<PreviewPage *>(view->page())
        ->callAwaited(QStringLiteral("prepareForPrint"), PageScript::json(QStringLiteral("light")),
                      [guard, printer, done, restore](const QJsonValue &, const QString &error) {
                          if (!guard || !error.isEmpty()) {
                              restore();
                              done(false, error.isEmpty() ? tr("The page went away.") : error);
                              return;
                          }
                          QObject::connect(
                              guard, &QWebEngineView::printFinished, guard,
                              [done, restore](bool ok) {
                                  restore();
                                  done(ok, ok ? QString() : tr("The page could not be printed."));
                              },
                              Qt::SingleShotConnection);
                          guard->print(printer);
                      });
}

} // namespace PDFPrint

} // namespace Lumo::Document
