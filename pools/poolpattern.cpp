#include "poolpattern.h"

namespace {

// Wider fields than this are a typing mistake, not a serial number.
constexpr int MaximumWidth = 32;

} // namespace

PoolPattern::PoolPattern() = default;

bool PoolPattern::parse(const QString& pattern, PoolPattern* result, QString* error)
{
    PoolPattern parsed;
    bool haveConversion = false;
    QString literal;
    const int length = pattern.size();
    for (int i = 0; i < length; ++i) {
        const QChar c = pattern.at(i);
        if (c != QLatin1Char('%')) {
            literal.append(c);
            continue;
        }
        const int start = i;
        if (i + 1 >= length) {
            *error = tr("The format \"%1\" ends with a lone %2; write %3 for a percent sign.")
                         .arg(pattern, QStringLiteral("%"), QStringLiteral("%%"));
            return false;
        }
        if (pattern.at(i + 1) == QLatin1Char('%')) {
            literal.append(QLatin1Char('%'));
            ++i;
            continue;
        }
        ++i;
        int width = 0;
        if (pattern.at(i) == QLatin1Char('0')) {
            ++i;
            int digits = 0;
            while (i < length && pattern.at(i).isDigit() && pattern.at(i).unicode() < 128) {
                width = qMin(width * 10 + pattern.at(i).digitValue(), 1000);
                ++digits;
                ++i;
            }
            if (digits == 0 || width == 0) {
                *error = tr("The format \"%1\" has a zero-padded conversion without a width; write "
                            "for example %2.")
                             .arg(pattern, QStringLiteral("%06d"));
                return false;
            }
            if (width > MaximumWidth) {
                *error = tr("The format \"%1\" asks for a width of %2; at most %3 digits are allowed.")
                             .arg(pattern, QString::number(width), QString::number(MaximumWidth));
                return false;
            }
        }
        const QChar conversion = i < length ? pattern.at(i) : QChar();
        int base = 0;
        bool upper = false;
        if (conversion == QLatin1Char('d')) {
            base = 10;
        } else if (conversion == QLatin1Char('x')) {
            base = 16;
        } else if (conversion == QLatin1Char('X')) {
            base = 16;
            upper = true;
        }
        if (base == 0) {
            const QString shown = pattern.mid(start, i - start + 1);
            *error = tr("The format \"%1\" contains \"%2\"; only one of %3 is allowed, and %4 for a "
                        "percent sign.")
                         .arg(pattern, shown, QStringLiteral("%d, %0Nd, %x, %0Nx, %X, %0NX"),
                              QStringLiteral("%%"));
            return false;
        }
        if (haveConversion) {
            *error = tr("The format \"%1\" has more than one number conversion; exactly one is allowed.")
                         .arg(pattern);
            return false;
        }
        haveConversion = true;
        parsed.m_prefix = literal;
        literal.clear();
        parsed.m_base = base;
        parsed.m_width = width;
        parsed.m_upperCase = upper;
    }
    if (!haveConversion) {
        *error = tr("The format \"%1\" has no number conversion; it needs exactly one, for example %2.")
                     .arg(pattern, QStringLiteral("HW-%06d"));
        return false;
    }
    parsed.m_suffix = literal;
    *result = parsed;
    return true;
}

QString PoolPattern::format(quint64 value) const
{
    static const char lower[] = "0123456789abcdef";
    static const char upper[] = "0123456789ABCDEF";
    const char* digitSet = m_upperCase ? upper : lower;
    QString digits;
    do {
        digits.prepend(QLatin1Char(digitSet[value % static_cast<quint64>(m_base)]));
        value /= static_cast<quint64>(m_base);
    } while (value != 0);
    if (digits.size() < m_width)
        digits.prepend(QString(m_width - digits.size(), QLatin1Char('0')));
    return m_prefix + digits + m_suffix;
}
