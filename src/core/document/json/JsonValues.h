#pragma once

#include "core/document/model/Types.h"

#include <QColor>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QLatin1StringView>
#include <QString>

#include <cmath>
#include <limits>

// Small typed readers shared by the document's JSON code. A value of the wrong JSON type counts
// as missing and gives the default; numbers are range-checked before any integer conversion so
// that hostile documents (1e300, NaN) cannot cause undefined behaviour.
namespace orvel::jsonvalue {

// Largest magnitude a time read from a file may have: small enough that the difference of two
// such times still fits in a TimeUs, and exact as a double.
inline constexpr double kTimeLimitUs = 4.0e18;

inline double toDouble(const QJsonValue &value, double fallback)
{
    if (!value.isDouble())
        return fallback;
    const double number = value.toDouble();
    return std::isnan(number) ? fallback : number;
}

inline double readDouble(const QJsonObject &object, QLatin1StringView key, double fallback)
{
    return toDouble(object.value(key), fallback);
}

// Truncates toward zero after clamping into the int range.
inline int truncateToInt(double number, int fallback)
{
    if (std::isnan(number))
        return fallback;
    constexpr double lo = std::numeric_limits<int>::min();
    constexpr double hi = std::numeric_limits<int>::max();
    if (number <= lo)
        return std::numeric_limits<int>::min();
    if (number >= hi)
        return std::numeric_limits<int>::max();
    return int(number);
}

inline int readInt(const QJsonObject &object, QLatin1StringView key, int fallback)
{
    const QJsonValue value = object.value(key);
    return value.isDouble() ? truncateToInt(value.toDouble(), fallback) : fallback;
}

inline TimeUs truncateToTime(double number, TimeUs fallback)
{
    if (std::isnan(number))
        return fallback;
    if (number <= -kTimeLimitUs)
        return TimeUs(-kTimeLimitUs);
    if (number >= kTimeLimitUs)
        return TimeUs(kTimeLimitUs);
    return TimeUs(number);
}

// The common time form: read as a double, truncated toward zero.
inline TimeUs readTime(const QJsonObject &object, QLatin1StringView key, TimeUs fallback)
{
    const QJsonValue value = object.value(key);
    return value.isDouble() ? truncateToTime(value.toDouble(), fallback) : fallback;
}

// The stricter integer form used by a few newer keys: a value that is not a whole number within
// qint64 reads as missing.
inline TimeUs readTimeInteger(const QJsonObject &object, QLatin1StringView key, TimeUs fallback)
{
    const QJsonValue value = object.value(key);
    if (!value.isDouble())
        return fallback;
    const TimeUs number = value.toInteger(fallback);
    return TimeUs(kTimeLimitUs) < number || number < -TimeUs(kTimeLimitUs) ? fallback : number;
}

// Old documents store times as seconds.
inline TimeUs readSecondsAsTime(const QJsonObject &object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    return value.isDouble() ? truncateToTime(value.toDouble() * 1e6, 0) : 0;
}

inline bool readBool(const QJsonObject &object, QLatin1StringView key, bool fallback)
{
    const QJsonValue value = object.value(key);
    return value.isBool() ? value.toBool() : fallback;
}

inline QString readString(const QJsonObject &object, QLatin1StringView key, const QString &fallback = {})
{
    const QJsonValue value = object.value(key);
    return value.isString() ? value.toString() : fallback;
}

// A string QColor cannot parse gives an invalid colour; a missing key gives the fallback.
inline QColor readColor(const QJsonObject &object, QLatin1StringView key, const QColor &fallback)
{
    const QJsonValue value = object.value(key);
    return value.isString() ? QColor::fromString(value.toString()) : fallback;
}

inline QJsonObject readObject(const QJsonObject &object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    return value.isObject() ? value.toObject() : QJsonObject();
}

inline QJsonArray readArray(const QJsonObject &object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    return value.isArray() ? value.toArray() : QJsonArray();
}

// An invalid colour has no name of its own; it is written as opaque black.
inline QString colorText(const QColor &color)
{
    return color.isValid() ? color.name(QColor::HexArgb) : QStringLiteral("#ff000000");
}

inline QJsonValue colorValue(const QColor &color)
{
    return colorText(color);
}

inline QJsonValue timeValue(TimeUs timeUs)
{
    return double(timeUs);
}

} // namespace orvel::jsonvalue
