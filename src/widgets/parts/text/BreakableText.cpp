#include "widgets/parts/text/BreakableText.h"

#include <QTextBoundaryFinder>

namespace tovri {
namespace {

constexpr int longestRun = 24;  // characters
constexpr QChar breakingPlace(0x200B);

}  // namespace

QString breakable(const QString& text, qsizetype longest) {
    const qsizetype kept = longest / 2;
    const QString shown = text.size() <= longest ? text : text.first(kept) + u'…' + text.last(kept);
    QTextBoundaryFinder characters(QTextBoundaryFinder::Grapheme, shown);
    QString broken;
    int run = 0;
    for (qsizetype from = 0, to = characters.toNextBoundary(); to >= 0; from = to, to = characters.toNextBoundary()) {
        if (run == longestRun) {
            broken += breakingPlace;
            run = 0;
        }
        run = shown[from].isSpace() ? 0 : run + 1;
        broken += QStringView(shown).sliced(from, to - from);
    }
    return broken;
}

}  // namespace tovri
