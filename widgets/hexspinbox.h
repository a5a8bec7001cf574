#pragma once

#include <QSpinBox>

// A spin box that shows and accepts its value as eight lower-case hexadecimal
// digits (255 shows as 000000ff). Range and step are left to the user.
class HexSpinBox : public QSpinBox
{
    Q_OBJECT

public:
    explicit HexSpinBox(QWidget* parent = nullptr);

    // Public so that callers (and tests) can format and parse like the field does.
    QString textFromValue(int value) const override;
    int valueFromText(const QString& text) const override;
    QValidator::State validate(QString& text, int& pos) const override;
};
