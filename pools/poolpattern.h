#pragma once

#include <QCoreApplication>
#include <QString>

// A counter pool's output format: a printf-style pattern with exactly one integer
// conversion (%d, %0Nd, %X, %0NX, %x, %0Nx), any literal text around it and %%
// for a percent sign. The pattern is read here and formatted by this class alone;
// it never reaches a library formatting function.
class PoolPattern
{
    Q_DECLARE_TR_FUNCTIONS(PoolPattern)

public:
    // The pattern used when a counter pool names none: the plain decimal number.
    PoolPattern();

    // Reads pattern into result; on failure says why in error and leaves result alone.
    static bool parse(const QString& pattern, PoolPattern* result, QString* error);

    QString format(quint64 value) const;

    const QString& prefix() const { return m_prefix; }
    const QString& suffix() const { return m_suffix; }
    int base() const { return m_base; }
    int width() const { return m_width; }
    bool upperCase() const { return m_upperCase; }

private:
    QString m_prefix;
    QString m_suffix;
    int m_base = 10;
    int m_width = 0;
    bool m_upperCase = false;
};
