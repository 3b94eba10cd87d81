#include "platform/wayland/WaylandOutputs.h"

#include "core/Log.h"

#include <cmath>
#include <utility>

namespace companion {
namespace {

constexpr std::uint32_t kOutputVersion = 4; // With its name.
constexpr std::uint32_t kPlaceVersion = 3;

bool turned(int transform) {
    return transform % 2 == 1; // By 90 or 270 degrees, mirrored or not.
}

const wl_output_listener &outputListener() {
    static constexpr wl_output_listener listener{
        .geometry =
            [](void *self, wl_output *, std::int32_t x, std::int32_t y, std::int32_t, std::int32_t,
               std::int32_t, const char *, const char *, std::int32_t transform) {
                auto &output = *static_cast<WaylandOutput *>(self);
                output.transform = transform;
                if (!output.place)
                    output.logical.moveTopLeft({x, y});
            },
        .mode =
            [](void *self, wl_output *, std::uint32_t flags, std::int32_t width, std::int32_t height,
               std::int32_t) {
                if ((flags & WL_OUTPUT_MODE_CURRENT) != 0)
                    static_cast<WaylandOutput *>(self)->mode = {width, height};
            },
        .done = [](void *, wl_output *) {},
        .scale =
            [](void *self, wl_output *, std::int32_t factor) {
                static_cast<WaylandOutput *>(self)->factor = std::max(1, factor);
            },
        .name = [](void *self, wl_output *,
                   const char *name) { static_cast<WaylandOutput *>(self)->name = name; },
        .description = [](void *, wl_output *, const char *) {}};
    return listener;
}

const zxdg_output_v1_listener &placeListener() {
    static constexpr zxdg_output_v1_listener listener{
        .logical_position =
            [](void *self, zxdg_output_v1 *, std::int32_t x, std::int32_t y) {
                static_cast<WaylandOutput *>(self)->logical.moveTopLeft({x, y});
            },
        .logical_size =
            [](void *self, zxdg_output_v1 *, std::int32_t width, std::int32_t height) {
                static_cast<WaylandOutput *>(self)->logical.setSize({width, height});
            },
        .done = [](void *, zxdg_output_v1 *) {},
        .name = [](void *self, zxdg_output_v1 *,
                   const char *name) { static_cast<WaylandOutput *>(self)->name = name; },
        .description = [](void *, zxdg_output_v1 *, const char *) {}};
    return listener;
}

} // namespace

QSize WaylandOutput::pixels() const {
    return turned(transform) ? mode.transposed() : mode;
}

// Compositors count scales in 120ths and round the logical size to whole points.
double WaylandOutput::scale() const {
    if (logical.width() <= 0)
        return factor;
    constexpr double kSteps = 120;
    const double scale = std::round(pixels().width() * kSteps / logical.width()) / kSteps;
    return scale > 0 ? scale : factor;
}

WaylandOutputs::WaylandOutputs(WaylandConnection &connection, ScreenChoice choice)
    : m_connection(connection),
      m_choice(std::move(choice)),
      m_places(connection.bind<zxdg_output_manager_v1>(zxdg_output_manager_v1_interface, kPlaceVersion)),
      m_orderSource(connection.bind<kde_output_order_v1>(kde_output_order_v1_interface, 1)) {
    connection.onGlobals(
        wl_output_interface, [this](const auto &global) { add(global); },
        [this](const auto &global) { remove(global.name); });
    if (m_orderSource) {
        static constexpr kde_output_order_v1_listener kListener{
            .output =
                [](void *self, kde_output_order_v1 *, const char *name) {
                    static_cast<WaylandOutputs *>(self)->m_coming.emplace_back(name);
                },
            .done =
                [](void *self, kde_output_order_v1 *) {
                    auto &outputs = *static_cast<WaylandOutputs *>(self);
                    outputs.m_order = std::exchange(outputs.m_coming, {});
                }};
        kde_output_order_v1_add_listener(m_orderSource.get(), &kListener, this);
    }
    connection.waitUntilAnswered();
    connection.onBatchEnd([this] { tellChange(); });
    tellChange();
}

void WaylandOutputs::add(const WaylandConnection::Global &global) {
    auto output = std::make_unique<WaylandOutput>();
    output->global = global.name;
    output->output.reset(
        static_cast<wl_output *>(m_connection.bindGlobal(global, wl_output_interface, kOutputVersion)));
    wl_output_add_listener(output->output.get(), &outputListener(), output.get());
    if (m_places) {
        output->place.reset(zxdg_output_manager_v1_get_xdg_output(m_places.get(), output->output.get()));
        zxdg_output_v1_add_listener(output->place.get(), &placeListener(), output.get());
    }
    m_outputs.push_back(std::move(output));
}

void WaylandOutputs::remove(std::uint32_t global) {
    if (m_entered == global)
        m_entered = 0;
    std::erase_if(m_outputs, [global](const auto &each) { return each->global == global; });
}

// Looked for after each lot of events: one change of the desktop is told in many.
void WaylandOutputs::tellChange() {
    const WaylandOutput *output = current();
    const State now{output, area(), scale()};
    if (now == std::exchange(m_told, now))
        return;
    if (m_changed)
        m_changed();
}

const WaylandOutput *WaylandOutputs::named(const std::string &name) const {
    const auto found = std::find_if(m_outputs.begin(), m_outputs.end(),
                                    [&](const auto &each) { return each->name == name && each->ready(); });
    return found == m_outputs.end() ? nullptr : found->get();
}

const WaylandOutput *WaylandOutputs::wanted() {
    if (m_choice.rule == ScreenChoice::Rule::Named) {
        const WaylandOutput *found = named(m_choice.name);
        const bool missed = found == nullptr;
        if (missed && !std::exchange(m_missed, true))
            Log::line("there is no screen '" + m_choice.name + "': the effects are on the main one");
        if (!missed && std::exchange(m_missed, false))
            Log::line("the screen '" + m_choice.name + "' is there: the effects are on it");
        if (found != nullptr)
            return found;
    }
    if (m_outputs.size() == 1)
        return m_outputs.front()->ready() ? m_outputs.front().get() : nullptr;
    if (m_choice.rule != ScreenChoice::Rule::Pointer && !m_order.empty())
        return named(m_order.front());
    return nullptr;
}

const WaylandOutput *WaylandOutputs::current() {
    if (const WaylandOutput *output = wanted())
        return output;
    const WaylandOutput *first = nullptr;
    for (const auto &each : m_outputs) {
        if (!each->ready())
            continue;
        if (each->global == m_entered)
            return each.get();
        first = first != nullptr ? first : each.get();
    }
    return first;
}

void WaylandOutputs::entered(wl_output *output) {
    for (const auto &each : m_outputs)
        if (each->output.get() == output)
            m_entered = each->global;
}

bool WaylandOutputs::has(const wl_output *output) const {
    return std::any_of(m_outputs.begin(), m_outputs.end(),
                       [output](const auto &each) { return each->output.get() == output; });
}

QSize WaylandOutputs::pixels() {
    const WaylandOutput *output = current();
    return output != nullptr ? output->pixels() : QSize(0, 0);
}

double WaylandOutputs::scale() {
    const WaylandOutput *output = current();
    return output != nullptr ? output->scale() : 1;
}

Size WaylandOutputs::size() {
    return {pixels().width() / scale(), pixels().height() / scale()};
}

QRect WaylandOutputs::area() {
    const WaylandOutput *output = current();
    return output != nullptr ? QRect(output->logical.topLeft(), output->pixels()) : QRect();
}

QRect WaylandOutputs::desktop() const {
    QRect all;
    for (const auto &each : m_outputs)
        all |= each->logical;
    return all;
}

} // namespace companion
