// Decode throughput of TextEncoding on 10 MB documents, beside QString::fromUtf8 on
// the same UTF-8 bytes. Run: build/bench/bench_decode
#include "document/TextEncoding.h"

#include <benchmark/benchmark.h>
#include <QStringEncoder>

using namespace Lumo::Document;

namespace {

constexpr qsizetype documentSize = 10 * 1024 * 1024;

// Markdown prose with the usual sprinkling of non-ASCII: accents, dashes, quotes,
// and (where the encoding has them) CJK and emoji.
QString sampleText(bool westernOnly)
{
    QString paragraph = QStringLiteral(
        "## Chapter\n\nThe café’s résumé — “naïve” prose with *emphasis*, `code` and "
        "[links](https://example.org). Lorem ipsum dolor sit amet, consectetur adipiscing "
        "elit, sed do eiusmod tempor incididunt ut labore et dolore magna aliqua.\n\n"
        "- item one\n- item two with **bold**\n\n");
    if (!westernOnly)
        paragraph += QStringLiteral("日本語のテキストと絵文字 🎉 も少し。\n\n");
    QString text;
    text.reserve(documentSize);
    while (text.size() < documentSize)
        text += paragraph;
    return text;
}

QByteArray encoded(const QString &text, const char *encoding, qsizetype limit)
{
    QStringEncoder encoder(encoding);
    QByteArray bytes = encoder.encode(text);
    return bytes.left(limit);
}

const QByteArray &utf8Bytes()
{
    static const QByteArray bytes = [] {
        QByteArray b = sampleText(false).toUtf8();
        b.truncate(documentSize);
        // Cut at a character boundary so the file stays valid UTF-8.
        while (!b.isEmpty() && (static_cast<unsigned char>(b.back()) & 0xC0) == 0x80)
            b.chop(1);
        if (!b.isEmpty() && static_cast<unsigned char>(b.back()) >= 0xC0)
            b.chop(1);
        return b;
    }();
    return bytes;
}

const QByteArray &utf16Bytes()
{
    static const QByteArray bytes = encoded(sampleText(false), "UTF-16LE", documentSize);
    return bytes;
}

const QByteArray &windows1252Bytes()
{
    static const QByteArray bytes = encoded(sampleText(true), "windows-1252", documentSize);
    return bytes;
}

void run(benchmark::State &state, const QByteArray &data)
{
    for (auto _ : state) {
        auto decoded = TextEncoding::decode(data);
        benchmark::DoNotOptimize(decoded.text.constData());
    }
    state.SetBytesProcessed(state.iterations() * data.size());
}

void BM_FromUtf8(benchmark::State &state)
{
    const QByteArray &data = utf8Bytes();
    for (auto _ : state) {
        QString text = QString::fromUtf8(data);
        benchmark::DoNotOptimize(text.constData());
    }
    state.SetBytesProcessed(state.iterations() * data.size());
}

void BM_DecodeUtf8(benchmark::State &state)
{
    run(state, utf8Bytes());
}
void BM_DecodeUtf16LE(benchmark::State &state)
{
    run(state, utf16Bytes());
}
void BM_DecodeWindows1252(benchmark::State &state)
{
    run(state, windows1252Bytes());
}

} // namespace

BENCHMARK(BM_FromUtf8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DecodeUtf8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DecodeUtf16LE)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DecodeWindows1252)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
