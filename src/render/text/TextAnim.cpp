#include "render/text/TextAnim.h"

#include "render/text/TextWords.h"

#include <QEasingCurve>

#include <algorithm>
#include <cmath>

namespace orvel {

namespace textanim_detail {

double easedValue(TextAnimEase ease, double q)
{
    QEasingCurve::Type type = QEasingCurve::OutCubic;
    switch (ease) {
    case TextAnimEase::linear:
        type = QEasingCurve::Linear;
        break;
    case TextAnimEase::easeOut:
        type = QEasingCurve::OutCubic;
        break;
    case TextAnimEase::easeInOut:
        type = QEasingCurve::InOutQuad;
        break;
    case TextAnimEase::back:
        type = QEasingCurve::OutBack;
        break;
    }
    return QEasingCurve(type).valueForProgress(q);
}

// A gentle bob that runs for the whole clip, shifted from unit to unit so the text ripples.
void addWave(TextAnimState &state, TimeUs elapsedUs, int index, const QSizeF &size, double scale)
{
    const double amplitude = std::min(0.12 * size.height(), 36.0 * scale);
    const double seconds = double(elapsedUs) / 1e6;
    state.offsetY += amplitude * std::sin(seconds * 6.911503837897546 + index * 0.6);
}

bool animates(const TextAnimation &anim)
{
    return anim.kind != TextAnimKind::none && anim.durationUs > 0;
}

TextAnimState animStateForSpan(const TextStyle &style, TimeUs startUs, TimeUs durationUs, TimeUs t,
                               const QSizeF &size, double scale)
{
    TextAnimState state;
    const TimeUs elapsed = t - startUs;
    if (style.animIn.kind == TextAnimKind::wave) {
        addWave(state, elapsed, 0, size, scale);
        return state;
    }
    if (animates(style.animIn))
        applyTextAnimation(state, style.animIn, double(elapsed) / double(style.animIn.durationUs), true, size,
                           scale);
    if (animates(style.animOut))
        applyTextAnimation(state, style.animOut,
                           double(durationUs - elapsed) / double(style.animOut.durationUs), false, size,
                           scale);
    return state;
}

} // namespace textanim_detail

void applyTextAnimation(TextAnimState &state, const TextAnimation &anim, double p, bool entering,
                        const QSizeF &size, double scale)
{
    const double q = std::clamp(p, 0.0, 1.0);
    const double eased = textanim_detail::easedValue(anim.ease, q);
    const double inverse = 1.0 - eased;
    const double dx = 0.35 * size.width();
    const double dy = 0.35 * size.height();
    const double dir = entering ? 1.0 : -1.0;
    switch (anim.kind) {
    case TextAnimKind::none:
    case TextAnimKind::wave:
        return;
    case TextAnimKind::fade:
        state.opacity *= eased;
        return;
    case TextAnimKind::slideUp:
        state.offsetY += inverse * dir * dy;
        state.opacity *= eased;
        return;
    case TextAnimKind::slideDown:
        state.offsetY -= inverse * dir * dy;
        state.opacity *= eased;
        return;
    case TextAnimKind::slideLeft:
        state.offsetX += inverse * dir * dx;
        state.opacity *= eased;
        return;
    case TextAnimKind::slideRight:
        state.offsetX -= inverse * dir * dx;
        state.opacity *= eased;
        return;
    case TextAnimKind::pop:
        state.scale *= 0.6 + 0.4 * eased;
        state.opacity *= std::clamp(eased, 0.0, 1.0);
        return;
    case TextAnimKind::blur:
        state.blur = std::max(state.blur, inverse * 24.0 * scale);
        state.opacity *= std::clamp(eased, 0.0, 1.0);
        return;
    case TextAnimKind::typewriter:
        // A step, not a fade: each unit is there from its own instant on.
        state.opacity *= p >= 0.0 ? 1.0 : 0.0;
        return;
    case TextAnimKind::rise:
        state.offsetY += inverse * dir * dy;
        state.scale *= 0.9 + 0.1 * eased;
        state.opacity *= eased;
        return;
    case TextAnimKind::bounce: {
        const double b = QEasingCurve(QEasingCurve::OutBounce).valueForProgress(q);
        state.offsetY += (1.0 - b) * dir * dy;
        state.opacity *= std::max(0.0, std::min(4.0 * p, 1.0));
        return;
    }
    }
}

double textUnitOrderValue(int index, int count, TextAnimOrder order)
{
    if (count < 2)
        return 0.0;
    switch (order) {
    case TextAnimOrder::forward:
        return index;
    case TextAnimOrder::backward:
        return count - index - 1;
    case TextAnimOrder::centerOut:
        return std::abs(index - (count - 1) / 2.0);
    case TextAnimOrder::random:
        return textStableHash16(index) / 65535.0 * (count - 1);
    }
    return index;
}

TextAnimState animStateForClip(const Clip &clip, TimeUs t, const QRectF &rect, double scale)
{
    return textanim_detail::animStateForSpan(clip.textStyle, 0, clip.timelineDurationUs, t, rect.size(),
                                             scale);
}

TextAnimState animStateForCue(const Clip &clip, const SubtitleCue &cue, TimeUs t, const QRectF &rect,
                              double scale)
{
    return textanim_detail::animStateForSpan(clip.textStyle, cue.startUs, cue.endUs - cue.startUs, t,
                                             rect.size(), scale);
}

TextAnimState animStateForUnit(const Clip &clip, TimeUs t, int unitIndex, int unitCount, const QRectF &rect,
                               double scale)
{
    const TextAnimation &in = clip.textStyle.animIn;
    const TextAnimation &out = clip.textStyle.animOut;
    const QSizeF size = rect.size();
    TextAnimState state;
    if (in.kind == TextAnimKind::wave) {
        textanim_detail::addWave(state, t, unitIndex, size, scale);
    } else if (textanim_detail::animates(in)) {
        const auto delayUs =
            TimeUs(textUnitOrderValue(unitIndex, unitCount, in.order) * double(in.staggerUs));
        applyTextAnimation(state, in, double(t - delayUs) / double(in.durationUs), true, size, scale);
    }
    if (out.kind != TextAnimKind::wave && textanim_detail::animates(out)) {
        // The unit that enters first leaves last.
        double span = unitCount < 2 ? 0.0 : unitCount - 1.0;
        if (out.order == TextAnimOrder::centerOut)
            span /= 2.0;
        span -= textUnitOrderValue(unitIndex, unitCount, out.order);
        const auto leadUs = TimeUs(double(out.staggerUs) * span);
        applyTextAnimation(state, out, double(clip.timelineDurationUs - leadUs - t) / double(out.durationUs),
                           false, size, scale);
    }
    state.opacity = std::clamp(state.opacity, 0.0, 1.0);
    return state;
}

} // namespace orvel
