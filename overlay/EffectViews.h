#pragma once

#include "overlay/Disc.h"
#include "overlay/View.h"

namespace companion {

class ConfigManager;

// The plain mode draws nothing; the view exists so that the mode has a full-size view to mark.
class NormalView final : public View {
public:
    using View::View;
};

// The screen dimmed but for a clear disc. Reads colour and alpha from the settings at each drawing.
class SpotlightView final : public View {
public:
    SpotlightView(const PointRect &frame, const ConfigManager &config);

    // Effect rect, points of the view. The zero rect, until the mouse has moved: no clear disc.
    const PointRect &spotlightRect() const { return m_spotlightRect; }
    void setSpotlightRect(const PointRect &rect) { m_spotlightRect = rect; }

    void paint(const PixelPatch &patch) const override;

protected:
    Look drawRect(const PixelSpace &space, const PointRect &frameInRoot) override;

private:
    const ConfigManager &m_config;
    PointRect m_spotlightRect;
    Disc m_hole;
    std::uint64_t m_picture = 0; // Of the disc at its colour.
};

// The digital pointer: a filled disc. Reads colour and alpha from the settings at each drawing.
class LaserView final : public View {
public:
    LaserView(const PointRect &frame, const ConfigManager &config);

    // Effect rect, points of the view. The zero rect, until the mouse has moved: nothing to see.
    const PointRect &laserRect() const { return m_laserRect; }
    void setLaserRect(const PointRect &rect) { m_laserRect = rect; }

    // Never assigned; the overlay sees the mouse through the input monitor.
    const std::shared_ptr<void> &trackingArea() const { return m_trackingArea; }
    void setTrackingArea(std::shared_ptr<void> area) { m_trackingArea = std::move(area); }

    // Called once after creation; has nothing to do.
    void setViewData() {}

    void paint(const PixelPatch &patch) const override;

protected:
    Look drawRect(const PixelSpace &space, const PointRect &frameInRoot) override;

private:
    const ConfigManager &m_config;
    PointRect m_laserRect;
    std::shared_ptr<void> m_trackingArea;
    Disc m_dot;
    Pixel m_pixel = 0;
    std::uint64_t m_picture = 0; // Of the disc at its colour.
};

} // namespace companion
