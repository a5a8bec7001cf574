#include "hexspinbox.h"

HexSpinBox::HexSpinBox(QWidget* parent) : QSpinBox(parent)
{
    setMinimumWidth(80);
}

QString HexSpinBox::textFromValue(int value) const
{
    return QStringLiteral("%1").arg(value, 8, 16, QLatin1Char('0'));
}

int HexSpinBox::valueFromText(const QString& text) const
{
    bool ok = false;
    const int value = text.toInt(&ok, 16);
    return ok ? value : 0;
}

QValidator::State HexSpinBox::validate(QString& text, int& pos) const
{
    Q_UNUSED(pos)
    // No intermediate state: an empty field is as invalid as a stray letter,
    // so the field never holds something that is not a number.
    bool ok = false;
    text.toInt(&ok, 16);
    return ok ? QValidator::Acceptable : QValidator::Invalid;
}
