#pragma once
// Thread contract: stateless; safe from any thread.

#include <QList>
#include <vector>

namespace sirius {

/// A stable merge sort that stays within bounds whatever the comparator answers. The orderings
/// of service data (mixed numeric and text sort keys, keys that differ as text but not as
/// numbers) are not always strict weak orderings, and std::sort may then read outside the range;
/// this sort only ever yields some permutation.
template <class T, class Less>
void robustStableSort(QList<T>& items, Less less)
{
    const int n = items.size();
    if (n < 2)
        return;
    std::vector<T> from(items.cbegin(), items.cend());
    std::vector<T> to(from.size());
    for (int width = 1; width < n; width *= 2) {
        for (int left = 0; left < n; left += 2 * width) {
            const int middle = qMin(left + width, n);
            const int right = qMin(left + 2 * width, n);
            int i = left;
            int j = middle;
            int k = left;
            while (i < middle && j < right)
                to[k++] = less(from[j], from[i]) ? from[j++] : from[i++];
            while (i < middle)
                to[k++] = from[i++];
            while (j < right)
                to[k++] = from[j++];
        }
        from.swap(to);
    }
    items = QList<T>(from.cbegin(), from.cend());
}

} // namespace sirius
