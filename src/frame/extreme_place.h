#pragma once

namespace sarvane {

// Where the greatest or the least element of a sliding window stands; of equal ones, the oldest. `isBeyond(a, b)` is the
// comparison: whether `a` takes the place of `b`. Elements that can't be compared, such as a NaN, may be in the window.
//
// The place is kept from bar to bar. The window is searched only if the extreme has left it, or if its oldest element
// can't be compared: a search begins with that element, so its result may not be the one that was kept.
class ExtremePlace {
public:
    // Must be called after a bar that changed the window without a call of Follow.
    void Forget() { bars = Unknown; }

    // How many bars ago the extreme was. Since the last call exactly one element must have been pushed; if the window did
    // not become longer, its oldest element was dropped. `hasOrder` says whether an element can be compared.
    template <class Window, class Beyond, class Order>
    int Follow(const Window& window, Beyond isBeyond, Order hasOrder) {
        return FollowIfKept(window, isBeyond, hasOrder) ? bars : SearchAgain(window, isBeyond);
    }
    // The two halves of Follow: without a search, which gives false if one is needed, and with it.
    template <class Window, class Beyond, class Order>
    bool FollowIfKept(const Window& window, Beyond isBeyond, Order hasOrder) {
        const bool isInside = static_cast<unsigned>(bars + 1) < static_cast<unsigned>(window.Size());
        if (!isInside || !hasOrder(window[0])) return false;
        ++bars;
        if (isBeyond(window.Newest(), window.Newest(bars))) bars = 0;
        return true;
    }
    template <class Window, class Beyond>
    int SearchAgain(const Window& window, Beyond isBeyond) {
        return bars = Search(window, window.Size(), isBeyond);
    }
    int BarsAgo() const { return bars; }

    // The same for the newest `count` elements, without what is known from the bar before.
    template <class Window, class Beyond>
    static int Search(const Window& window, int count, Beyond isBeyond) {
        const int skipped = window.Size() - count;
        const auto* extreme = &window[skipped];
        int left = count;
        int place = count - 1;
        const auto compare = [&](const auto& element) {
            --left;
            if (!isBeyond(element, *extreme)) return;
            extreme = &element;
            place = left;
        };
        window.template OldestFirst<true>(count, compare, skipped);
        return place;
    }

private:
    static constexpr int Unknown = -2;  // plus 1 and without a sign, it is beyond every window

    int bars = Unknown;
};

}  // namespace sarvane
