#include "model/TuningValue.h"

#include <QRegularExpression>

#include <cmath>

namespace kelmo {

double TuningValue::read(const char* name, double fallback)
{
    static const QRegularExpression decimal(QStringLiteral(R"(\A[+-]?([0-9]+\.?[0-9]*|\.[0-9]+)\z)"));
    const QString text = qEnvironmentVariable(name);
    if (!decimal.match(text).hasMatch())
        return fallback;
    const double value = text.toDouble();
    return std::isfinite(value) ? value : fallback;
}

} // namespace kelmo
