// The plain driver: every kept case of the target's folder, then random inputs,
// biased towards the bytes Markdown, line breaks and encodings care about, until
// the time is up. A failing input is written to "fuzz-failure.bin" in the working
// folder, to be kept as a case once fixed.
//
//   fuzz_<target> [--seconds N] [--seed N] [cases folder]
#include "Fuzz.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

namespace {

std::vector<std::uint8_t> current;

const std::vector<std::string> &pieces()
{
    static const std::vector<std::string> list = {"\n",
                                                  "\r",
                                                  "\r\n",
                                                  " ",
                                                  "\t",
                                                  "#",
                                                  "*",
                                                  "_",
                                                  "`",
                                                  "```",
                                                  "~~~",
                                                  "-",
                                                  "---",
                                                  "...",
                                                  "<!--",
                                                  "-->",
                                                  ">",
                                                  "[",
                                                  "]",
                                                  "(",
                                                  ")",
                                                  "1.",
                                                  "- [ ] ",
                                                  "[x]",
                                                  "x",
                                                  "e",
                                                  "E",
                                                  "word",
                                                  "\xCC\x81",     // combining acute accent
                                                  "\xC3\xA9",     // é
                                                  "\xE2\x80\xA8", // line separator
                                                  "\xC2\x85",     // next line
                                                  "\xEF\xBB\xBF", // byte-order mark
                                                  "\xED\xA0\x80", // an encoded surrogate: not UTF-8
                                                  "\xF0\x9F\x9A\x80", // an emoji
                                                  "\xFF\xFE",
                                                  "\xFE\xFF",
                                                  "\x00",
                                                  "\x93",
                                                  "\x94",
                                                  "\xB0\xA1"};
    return list;
}

void run(const std::vector<std::uint8_t> &input)
{
    current = input;
    LLVMFuzzerTestOneInput(input.data(), input.size());
}

} // namespace

void fuzzFailed(const char *what, const char *file, int line)
{
    std::fprintf(stderr, "%s:%d: broken: %s (input of %zu bytes in fuzz-failure.bin)\n", file, line,
                 what, current.size());
    std::ofstream("fuzz-failure.bin", std::ios::binary)
        .write(reinterpret_cast<const char *>(current.data()),
               static_cast<std::streamsize>(current.size()));
    std::abort();
}

int main(int argc, char **argv)
{
    double seconds = 3;
    std::uint64_t seed = std::random_device()();
    std::string cases;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--seconds") && i + 1 < argc)
            seconds = std::atof(argv[++i]);
        else if (!std::strcmp(argv[i], "--seed") && i + 1 < argc)
            seed = std::strtoull(argv[++i], nullptr, 10);
        else
            cases = argv[i];
    }

    std::size_t kept = 0;
    if (!cases.empty() && std::filesystem::is_directory(cases)) {
        for (const auto &entry : std::filesystem::directory_iterator(cases)) {
            std::ifstream file(entry.path(), std::ios::binary);
            run({std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()});
            ++kept;
        }
    }

    std::mt19937_64 random(seed);
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    std::uint64_t runs = 0;
    std::vector<std::uint8_t> input;
    while (std::chrono::steady_clock::now() < end) {
        input.clear();
        const std::size_t length = random() % 400;
        while (input.size() < length) {
            if (random() % 3 == 0) {
                input.push_back(static_cast<std::uint8_t>(random()));
            } else {
                const std::string &piece = pieces()[random() % pieces().size()];
                input.insert(input.end(), piece.begin(), piece.end());
            }
        }
        run(input);
        ++runs;
    }
    std::printf("%zu kept cases and %llu random inputs passed (seed %llu, %.0f s)\n", kept,
                static_cast<unsigned long long>(runs), static_cast<unsigned long long>(seed),
                seconds);
    return 0;
}
