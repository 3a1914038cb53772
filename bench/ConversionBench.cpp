// SPDX-License-Identifier: MIT
// Nanoseconds a character: the conversion, a copy of the same bytes, a hash look-up a character,
// and ICU's transliterator with the same rules.
#include "Velmorin/KeyboardLayoutMap.h"

#include <QVector>

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <vector>

#include <benchmark/benchmark.h>
#include <unicode/utrans.h>

using namespace velmorin;

namespace {

QString repeated(const QString& sample, qsizetype size) {
    return sample.repeated(size / sample.size() + 1).first(size);
}

const QString& sample(int index) {
    static const QString samples[] = {
        QStringLiteral("the quick brown fox jumps over the lazy dog, and then once more; "),
        QStringLiteral("السلام عليكم ورحمة الله وبركاته، كيف حالك اليوم يا صديقي العزيز؟ "),
        QStringLiteral("السَّلَامُ عَلَيْكُمْ وَرَحْمَةُ اللَّهِ وَبَرَكَاتُهُ، كَيْفَ حَالُكَ الْيَوْمَ؟ "),
        QStringLiteral("mixed نص مختلط with 123 ١٢٣ 😀 and e\u0301 and عربي once more "),
    };
    return samples[index];
}

void conversion(benchmark::State& state) {
    const QString text = repeated(sample(int(state.range(0))), state.range(1));
    for (auto _ : state) {
        benchmark::DoNotOptimize(KeyboardLayoutMap::convert(text, FlipMode::auto_));
    }
}

void copy(benchmark::State& state) {
    const QString text = repeated(sample(int(state.range(0))), state.range(1));
    for (auto _ : state) {
        QString result(text.size(), Qt::Uninitialized);
        std::memcpy(result.data(), text.constData(), size_t(text.size()) * sizeof(QChar));
        benchmark::DoNotOptimize(result);
    }
}

const KeyboardLayoutMap::Table& tableFor(const QString& text) {
    return KeyboardLayoutMap::convert(text, FlipMode::auto_) == KeyboardLayoutMap::toEnglish(text)
               ? KeyboardLayoutMap::arabicToLatin()
               : KeyboardLayoutMap::latinToArabic();
}

void hashLookUp(benchmark::State& state) {
    const QString text = repeated(sample(int(state.range(0))), state.range(1));
    std::unordered_map<char16_t, char16_t> map;
    for (const auto& [key, value] : tableFor(text)) {
        map.emplace(key, value);
    }
    for (auto _ : state) {
        QString result = text;
        for (QChar& unit : result) {
            if (const auto found = map.find(unit.unicode()); found != map.end()) {
                unit = QChar(found->second);
            }
        }
        benchmark::DoNotOptimize(result);
    }
}

void transliterator(benchmark::State& state) {
    const QString text = repeated(sample(int(state.range(0))), state.range(1));
    QString rules;
    for (const auto& [key, value] : tableFor(text)) {
        rules += QStringLiteral("\\u%1 > \\u%2;\n")
                     .arg(uint{key}, 4, 16, QLatin1Char('0'))
                     .arg(uint{value}, 4, 16, QLatin1Char('0'));
    }
    UErrorCode status = U_ZERO_ERROR;
    UTransliterator* const rule =
        utrans_openU(u"Keys", 4, UTRANS_FORWARD, reinterpret_cast<const UChar*>(rules.utf16()),
                     int32_t(rules.size()), nullptr, &status);
    if (U_FAILURE(status)) {
        state.SkipWithError(u_errorName(status));
        return;
    }
    for (auto _ : state) {
        QString result = text;
        auto length = int32_t(result.size());
        int32_t limit = length;
        utrans_transUChars(rule, reinterpret_cast<UChar*>(result.data()), &length, length, 0,
                           &limit, &status);
        benchmark::DoNotOptimize(result);
    }
    utrans_close(rule);
}

/// Other programs on the machine only add to a time.
double least(const std::vector<double>& times) {
    return *std::min_element(times.begin(), times.end());
}

void allTexts(benchmark::internal::Benchmark* bench) {
    for (int text = 0; text < 4; ++text) {
        for (const int64_t size : {16, 1024, 65536, 1 << 20, 1 << 24}) {
            bench->Args({text, size});
        }
    }
    bench->ComputeStatistics("least", least);
}

void smallTexts(benchmark::internal::Benchmark* bench) {
    for (int text = 0; text < 4; ++text) {
        bench->Args({text, 65536});
    }
    bench->ComputeStatistics("least", least);
}

BENCHMARK(conversion)->Apply(allTexts);
BENCHMARK(copy)->Apply(allTexts);
BENCHMARK(hashLookUp)->Apply(smallTexts);
BENCHMARK(transliterator)->Apply(smallTexts);

} // namespace
