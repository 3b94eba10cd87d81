#include "overlay/RectPieces.h"

namespace companion {

void subtract(std::vector<QRect> &pieces, const QRect &hole) {
    for (std::size_t i = pieces.size(); i-- > 0;) {
        const QRect piece = pieces[i];
        const QRect cut = piece & hole;
        if (cut.isEmpty())
            continue;
        pieces[i] = pieces.back();
        pieces.pop_back();
        const QRect above(piece.left(), piece.top(), piece.width(), cut.top() - piece.top());
        const QRect below(piece.left(), cut.bottom() + 1, piece.width(), piece.bottom() - cut.bottom());
        const QRect left(piece.left(), cut.top(), cut.left() - piece.left(), cut.height());
        const QRect right(cut.right() + 1, cut.top(), piece.right() - cut.right(), cut.height());
        for (const QRect &rest : {above, below, left, right}) {
            if (!rest.isEmpty())
                pieces.push_back(rest);
        }
    }
}

void addDisjoint(std::vector<QRect> &pieces, const QRect &area, std::vector<QRect> &scratch) {
    if (area.isEmpty())
        return;
    scratch.clear();
    scratch.push_back(area);
    for (const QRect &piece : pieces)
        subtract(scratch, piece);
    pieces.insert(pieces.end(), scratch.begin(), scratch.end());
}

} // namespace companion
