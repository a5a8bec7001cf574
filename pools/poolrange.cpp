#include "poolrange.h"

#include "macaddress.h"

#include <limits>
#include <numeric>

namespace {

bool splitRange(const QString& text, QString* first, QString* last)
{
    const int dots = text.indexOf(QStringLiteral(".."));
    if (dots < 0 || text.indexOf(QStringLiteral(".."), dots + 2) >= 0)
        return false;
    *first = text.left(dots).trimmed();
    *last = text.mid(dots + 2).trimmed();
    return !first->isEmpty() && !last->isEmpty();
}

} // namespace

bool PoolRange::parseCounter(const QString& text, quint64 step, PoolRange* range, QString* error)
{
    QString firstText;
    QString lastText;
    if (!splitRange(text, &firstText, &lastText)) {
        *error = tr("\"%1\" is not a range; write FIRST..LAST, for example 1..5000.").arg(text);
        return false;
    }
    PoolRange parsed;
    const QString* parts[] = {&firstText, &lastText};
    quint64* values[] = {&parsed.first, &parsed.last};
    for (int i = 0; i < 2; ++i) {
        bool ok = false;
        const qlonglong value = parts[i]->toLongLong(&ok, 10);
        if (!ok || value < 0 || parts[i]->startsWith(QLatin1Char('+'))) {
            *error = tr("\"%1\" is not a counter value; use whole numbers from 0 to %2.")
                         .arg(*parts[i], QString::number(std::numeric_limits<qint64>::max()));
            return false;
        }
        *values[i] = static_cast<quint64>(value);
    }
    parsed.step = step;
    if (!check(&parsed, error))
        return false;
    *range = parsed;
    return true;
}

bool PoolRange::parseMac(const QString& text, quint64 step, PoolRange* range, QString* error)
{
    QString firstText;
    QString lastText;
    if (!splitRange(text, &firstText, &lastText)) {
        *error = tr("\"%1\" is not a range; write FIRST..LAST, for example "
                    "02:1A:00:00:00:00..02:1A:00:00:FF:FF.")
                     .arg(text);
        return false;
    }
    PoolRange parsed;
    if (!MacAddress::parse(firstText, &parsed.first, error) ||
        !MacAddress::parse(lastText, &parsed.last, error))
        return false;
    if (step > MacAddress::Largest) {
        *error = tr("The step %1 is larger than the whole address space.").arg(step);
        return false;
    }
    parsed.step = step;
    if (!check(&parsed, error))
        return false;
    *range = parsed;
    return true;
}

bool PoolRange::check(PoolRange* range, QString* error)
{
    if (range->step == 0) {
        *error = tr("The step must be at least 1.");
        return false;
    }
    if (range->last < range->first) {
        *error = tr("The range is empty: its last value comes before its first.");
        return false;
    }
    return true;
}

bool PoolRange::overlaps(const PoolRange& other) const
{
    const quint64 low = qMax(first, other.first);
    const quint64 high = qMin(last, other.last);
    if (low > high)
        return false;
    // Both sequences are arithmetic; a common value exists in [low, high] when the
    // residues agree modulo the gcd of the steps. Small searches settle it exactly.
    const quint64 g = std::gcd(step, other.step);
    if ((first % g) != (other.first % g))
        return false;
    // Walk this range's values from low; the other's steps repeat with period other.step / g.
    quint64 value = first + ((low - first + step - 1) / step) * step;
    for (quint64 tries = 0; tries <= other.step / g && value <= high; ++tries) {
        if ((value - other.first) % other.step == 0)
            return true;
        if (step > high - value)
            break;
        value += step;
    }
    return false;
}
