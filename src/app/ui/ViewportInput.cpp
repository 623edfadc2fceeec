#include "ui/ViewportInput.h"

#include <QKeyEvent>
#include <QNativeGestureEvent>
#include <QWheelEvent>

#include "ui/KeyCodes.h"

namespace vistrel::app::ViewportInput {

using viewport::GesturePhase;

viewport::Modifiers modifiers(Qt::KeyboardModifiers flags) {
    viewport::Modifiers m;
    m.shift = flags.testFlag(Qt::ShiftModifier);
    m.command = flags.testFlag(Qt::ControlModifier);
    m.option = flags.testFlag(Qt::AltModifier);
    m.control = flags.testFlag(Qt::MetaModifier);
    return m;
}

Float2 viewPoint(QPointF local, double viewHeight) {
    return {float(local.x()), float(viewHeight - local.y())};
}

double eventSeconds(EventClock& clock, std::uint64_t timestampMs) {
    const auto now = std::chrono::steady_clock::now();
    if (timestampMs != 0) {
        clock.lastStamp = timestampMs;
        clock.lastStampAt = now;
        return double(timestampMs) / 1000;
    }
    if (clock.lastStamp == 0) return std::chrono::duration<double>(now.time_since_epoch()).count();
    return double(clock.lastStamp) / 1000 +
           std::chrono::duration<double>(now - clock.lastStampAt).count();
}

std::optional<Float2> pointerDelta(PointerState& state, QPointF global) {
    if (state.warpEcho && *state.warpEcho == global) {
        state.warpEcho.reset();
        state.last = global;
        return std::nullopt;
    }
    state.warpEcho.reset();
    const QPointF d = state.last ? global - *state.last : QPointF();
    state.last = global;
    return Float2{float(d.x()), float(d.y())};
}

void pointerWarped(PointerState& state, QPointF global) {
    state.last = global;
    state.warpEcho = global;
}

viewport::MouseEvent mouseEvent(const QSinglePointEvent& event, double viewHeight, Float2 delta,
                                int clickCount, double time) {
    viewport::MouseEvent e;
    e.point = viewPoint(event.position(), viewHeight);
    e.delta = delta;
    e.clickCount = clickCount;
    e.time = time;
    e.modifiers = modifiers(event.modifiers());
    return e;
}

WheelRecords wheelEvents(const QWheelEvent& event, double viewHeight, double time,
                         WheelState& state) {
    viewport::WheelEvent e;
    e.point = viewPoint(event.position(), viewHeight);
    e.time = time;
    e.modifiers = modifiers(event.modifiers());
    const Qt::ScrollPhase qtPhase = event.phase();
    const bool phased = qtPhase != Qt::NoScrollPhase;
    const QPoint pixels = event.pixelDelta(), angle = event.angleDelta();
    if (!pixels.isNull()) {
        e.hasPreciseDeltas = true;
        e.scrollingDelta = {float(pixels.x()), float(pixels.y())};
    } else if (!angle.isNull()) {
        e.scrollingDelta = {float(angle.x()) / 120, float(angle.y()) / 120};
    } else {
        e.hasPreciseDeltas = phased;
    }

    WheelRecords out;
    auto push = [&out](const viewport::WheelEvent& record) {
        out.events[size_t(out.count++)] = record;
    };
    switch (qtPhase) {
        case Qt::NoScrollPhase:
            state = {};
            push(e);
            break;
        case Qt::ScrollBegin:
            state = {true, false};
            e.phase = GesturePhase::began;
            push(e);
            break;
        case Qt::ScrollUpdate:
            e.phase = state.scrolling ? GesturePhase::changed : GesturePhase::began;
            state = {true, false};
            push(e);
            break;
        case Qt::ScrollMomentum:
            if (state.scrolling) {
                // The fingers lifted: the view ends its orbit now, whatever follows.
                viewport::WheelEvent ended = e;
                ended.scrollingDelta = {};
                ended.phase = GesturePhase::ended;
                push(ended);
            }
            state = {false, true};
            e.momentumPhase = GesturePhase::changed;
            push(e);
            break;
        case Qt::ScrollEnd:
            if (state.momentum)
                e.momentumPhase = GesturePhase::ended;
            else
                e.phase = GesturePhase::ended;
            state = {};
            push(e);
            break;
    }
    return out;
}

GestureRecord gestureEvent(const QNativeGestureEvent& event, double viewHeight, double time,
                           GestureState& state) {
    const Float2 point = viewPoint(event.position(), viewHeight);
    const Qt::NativeGestureType type = event.gestureType();
    auto magnify = [&](float value, GesturePhase phase) {
        viewport::MagnifyEvent m;
        m.point = point;
        m.magnification = value;
        m.phase = phase;
        m.time = time;
        return m;
    };
    auto rotate = [&](float value, GesturePhase phase) {
        viewport::RotateEvent r;
        r.point = point;
        r.rotation = value;
        r.phase = phase;
        r.time = time;
        return r;
    };
    switch (type) {
        case Qt::BeginNativeGesture:
            state.active.reset();
            return {};
        case Qt::EndNativeGesture: {
            const std::optional<Qt::NativeGestureType> ending = state.active;
            state.active.reset();
            if (ending == Qt::ZoomNativeGesture) return magnify(0, GesturePhase::ended);
            if (ending == Qt::RotateNativeGesture) return rotate(0, GesturePhase::ended);
            return {};
        }
        case Qt::ZoomNativeGesture:
        case Qt::RotateNativeGesture: {
            const GesturePhase phase =
                state.active == type ? GesturePhase::changed : GesturePhase::began;
            state.active = type;
            if (type == Qt::ZoomNativeGesture) return magnify(float(event.value()), phase);
            return rotate(-float(event.value()), phase);
        }
        default:
            return {};
    }
}

viewport::KeyEvent keyEvent(const QKeyEvent& event, double time, std::string& characters) {
    characters = event.text().toStdString();
    viewport::KeyEvent e;
    e.keyCode = KeyCodes::appleKeyCode(event.nativeScanCode(), event.key(),
                                       event.modifiers().testFlag(Qt::KeypadModifier));
    e.characters = characters;
    e.isRepeat = event.isAutoRepeat();
    e.modifiers = modifiers(event.modifiers());
    e.time = time;
    return e;
}

bool isModifierKey(int qtKey) {
    switch (qtKey) {
        case Qt::Key_Shift:
        case Qt::Key_Control:
        case Qt::Key_Alt:
        case Qt::Key_Meta:
        case Qt::Key_AltGr:
        case Qt::Key_Super_L:
        case Qt::Key_Super_R:
            return true;
        default:
            return false;
    }
}

viewport::Modifiers modifiersAfterKey(const QKeyEvent& event) {
    viewport::Modifiers m = modifiers(event.modifiers());
    const bool down = event.type() == QEvent::KeyPress;
    switch (event.key()) {
        case Qt::Key_Shift:
            m.shift = down;
            break;
        case Qt::Key_Control:
            m.command = down;
            break;
        case Qt::Key_Alt:
            m.option = down;
            break;
        case Qt::Key_Meta:
        case Qt::Key_Super_L:
        case Qt::Key_Super_R:
            m.control = down;
            break;
        default:
            break;
    }
    return m;
}

}  // namespace vistrel::app::ViewportInput
