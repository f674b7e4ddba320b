#pragma once

#include <cstdint>

namespace orvel {

// Every document time is a signed count of microseconds.
using TimeUs = std::int64_t;

enum class TrackType
{
    video = 0,
    audio = 1,
    text = 2,
    subtitle = 3,
    shape = 4
};

enum class ClipType
{
    video = 0,
    audio = 1,
    image = 2,
    text = 3,
    subtitle = 4,
    shape = 5
};

enum class BlendMode
{
    normal = 0,
    multiply,
    screen,
    overlay,
    add,
    darken,
    lighten = 6
};

enum class FadeCurve
{
    linear = 0,
    smooth = 1,
    equalPower = 2
};

enum class MaskShape
{
    none = 0,
    rectangle,
    ellipse,
    star,
    heart,
    bars,
    freeform,
    matte = 7
};

enum class ShapeFillKind
{
    none = 0,
    solid,
    linear,
    radial = 3
};

enum class ShapeStrokeStyle
{
    none = 0,
    solid,
    dash,
    dot,
    dashdot = 4
};

enum class TextAlign
{
    left = 0,
    center = 1,
    right = 2
};

enum class TextVAlign
{
    top = 0,
    middle = 1,
    bottom = 2
};

enum class TextAccentRule
{
    none = 0,
    firstWord,
    lastWord,
    everyOther,
    everyNth,
    longestWord,
    randomStable,
    karaoke = 7
};

enum class TextAnimKind
{
    none = 0,
    fade,
    slideUp,
    slideDown,
    slideLeft,
    slideRight,
    pop,
    blur,
    typewriter,
    rise,
    bounce,
    wave = 11
};

enum class TextAnimEase
{
    linear = 0,
    easeOut = 1,
    easeInOut = 2,
    back = 3
};

enum class TextAnimUnit
{
    block = 0,
    word,
    character,
    line = 3
};

enum class TextAnimOrder
{
    forward = 0,
    backward,
    centerOut,
    random = 3
};

enum class AssetKind
{
    video = 0,
    audio = 1,
    image = 2,
    other = 3
};

enum class BackgroundKind
{
    color = 0,
    blur = 1
};

} // namespace orvel
