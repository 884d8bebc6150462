#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <optional>

// One thing a host does with analytics: a feature tracked plainly (with or
// without properties), once per run, started, stopped or with a value, or a
// pause between two such steps. The buttons of the demo window and the
// scripted list of --features make the same steps.
//
// A script is a list of steps separated by ';':
//     CODE                    ZpAnalyticsTrackFeature (a dotted "Name.Key.Value"
//                             code is sent as "Name" with Key = Value)
//     CODE{Key=Value,...}     ZpAnalyticsTrackFeatureWithProperties
//     once:CODE               ZpAnalyticsTrackFeatureOncePerRun
//     start:CODE / stop:CODE  ZpAnalyticsTrackFeatureStart / ...Stop (may carry {...})
//     value:CODE=N            ZpAnalyticsTrackFeatureValue
//     wait:MS                 a pause of MS milliseconds
// Spaces inside a code are part of it; around a step they are dropped.
class FeatureStep {
public:
    enum class Kind { Plain, Once, Start, Stop, Value, Wait };

    // The steps of `script`, or nothing (with the reason in *error) when one
    // of them is malformed. An empty script has no steps.
    static std::optional<QList<FeatureStep>> parseScript(const QString& script, QString* error);

    // How the step reads in a script; parseScript gives it back unchanged.
    QString toString() const;

    Kind kind = Kind::Plain;
    QString code;
    QMap<QString, QString> properties; // Plain, Start and Stop only
    int number = 0; // Value: the value; Wait: milliseconds
};
