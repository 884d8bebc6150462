#include "FeatureStep.h"

#include <QStringList>

namespace {

struct Prefix {
    const char* text;
    FeatureStep::Kind kind;
};

const Prefix kPrefixes[] = {
    {"once:", FeatureStep::Kind::Once},   {"start:", FeatureStep::Kind::Start}, {"stop:", FeatureStep::Kind::Stop},
    {"value:", FeatureStep::Kind::Value}, {"wait:", FeatureStep::Kind::Wait},
};

bool takesProperties(FeatureStep::Kind kind)
{
    return kind == FeatureStep::Kind::Plain || kind == FeatureStep::Kind::Start || kind == FeatureStep::Kind::Stop;
}

// Splits "CODE{Key=Value,...}" into the step's code and properties.
bool parseProperties(const QString& text, FeatureStep* step, QString* error)
{
    const qsizetype open = text.indexOf(QLatin1Char('{'));
    if (open < 0 || !text.endsWith(QLatin1Char('}'))) {
        step->code = text;
        return true;
    }
    step->code = text.left(open).trimmed();
    const QString inside = text.mid(open + 1, text.size() - open - 2);
    const QStringList pairs = inside.split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const QString& pair : pairs) {
        const qsizetype equals = pair.indexOf(QLatin1Char('='));
        const QString key = pair.left(equals).trimmed();
        if (equals < 0 || key.isEmpty()) {
            *error = QStringLiteral("\"%1\" in \"%2\" is not Key=Value").arg(pair.trimmed(), text);
            return false;
        }
        step->properties.insert(key, pair.mid(equals + 1).trimmed());
    }
    return true;
}

} // namespace

std::optional<QList<FeatureStep>> FeatureStep::parseScript(const QString& script, QString* error)
{
    QList<FeatureStep> steps;
    const QStringList texts = script.split(QLatin1Char(';'), Qt::SkipEmptyParts);
    for (const QString& untrimmed : texts) {
        const QString text = untrimmed.trimmed();
        if (text.isEmpty())
            continue;
        FeatureStep step;
        QString rest = text;
        for (const Prefix& prefix : kPrefixes) {
            if (text.startsWith(QLatin1String(prefix.text))) {
                step.kind = prefix.kind;
                rest = text.mid(qsizetype(qstrlen(prefix.text))).trimmed();
                break;
            }
        }

        bool ok = true;
        if (step.kind == Kind::Wait) {
            step.number = rest.toInt(&ok);
            ok = ok && step.number >= 0;
        } else if (step.kind == Kind::Value) {
            const qsizetype equals = rest.lastIndexOf(QLatin1Char('='));
            step.code = rest.left(equals).trimmed();
            step.number = rest.mid(equals + 1).toInt(&ok);
            ok = ok && equals > 0;
        } else if (takesProperties(step.kind)) {
            if (!parseProperties(rest, &step, error))
                return std::nullopt;
        } else {
            step.code = rest;
        }
        if (!ok || (step.kind != Kind::Wait && step.code.isEmpty())) {
            *error = QStringLiteral("\"%1\" is not a feature step").arg(text);
            return std::nullopt;
        }
        steps.append(step);
    }
    return steps;
}

QString FeatureStep::toString() const
{
    QString prefix;
    for (const Prefix& candidate : kPrefixes) {
        if (candidate.kind == kind)
            prefix = QLatin1String(candidate.text);
    }
    if (kind == Kind::Wait)
        return prefix + QString::number(number);
    if (kind == Kind::Value)
        return QStringLiteral("%1%2=%3").arg(prefix, code).arg(number);
    QString text = prefix + code;
    if (!properties.isEmpty()) {
        QStringList pairs;
        for (auto it = properties.cbegin(); it != properties.cend(); ++it)
            pairs << it.key() + QLatin1Char('=') + it.value();
        text += QLatin1Char('{') + pairs.join(QLatin1Char(',')) + QLatin1Char('}');
    }
    return text;
}
