#pragma once

#include <wayland-client.h>

#include <wayland-protocols/ext-image-copy-capture-v1.h>
#include <wayland-protocols/fake-input.h>
#include <wayland-protocols/fractional-scale-v1.h>
#include <wayland-protocols/kde-output-order-v1.h>
#include <wayland-protocols/viewporter.h>
#include <wayland-protocols/wlr-layer-shell-unstable-v1.h>
#include <wayland-protocols/wlr-screencopy-unstable-v1.h>
#include <wayland-protocols/wlr-virtual-pointer-unstable-v1.h>
#include <wayland-protocols/xdg-output-unstable-v1.h>

#include <memory>

namespace companion {

// Each kind of object ends with a request of its own; those that have none are forgotten on our side only.
struct WaylandDelete {
    void operator()(wl_buffer *o) const { wl_buffer_destroy(o); }
    void operator()(wl_callback *o) const { wl_callback_destroy(o); }
    void operator()(wl_compositor *o) const { wl_compositor_destroy(o); }
    void operator()(wl_output *o) const {
        if (wl_output_get_version(o) >= WL_OUTPUT_RELEASE_SINCE_VERSION)
            wl_output_release(o);
        else
            wl_output_destroy(o);
    }
    void operator()(wl_pointer *o) const {
        if (wl_pointer_get_version(o) >= WL_POINTER_RELEASE_SINCE_VERSION)
            wl_pointer_release(o);
        else
            wl_pointer_destroy(o);
    }
    void operator()(wl_region *o) const { wl_region_destroy(o); }
    void operator()(wl_registry *o) const { wl_registry_destroy(o); }
    void operator()(wl_seat *o) const {
        if (wl_seat_get_version(o) >= WL_SEAT_RELEASE_SINCE_VERSION)
            wl_seat_release(o);
        else
            wl_seat_destroy(o);
    }
    void operator()(wl_shm *o) const { wl_shm_destroy(o); }
    void operator()(wl_shm_pool *o) const { wl_shm_pool_destroy(o); }
    void operator()(wl_surface *o) const { wl_surface_destroy(o); }
    void operator()(ext_image_capture_source_v1 *o) const { ext_image_capture_source_v1_destroy(o); }
    void operator()(ext_image_copy_capture_frame_v1 *o) const { ext_image_copy_capture_frame_v1_destroy(o); }
    void operator()(ext_image_copy_capture_manager_v1 *o) const {
        ext_image_copy_capture_manager_v1_destroy(o);
    }
    void operator()(ext_image_copy_capture_session_v1 *o) const {
        ext_image_copy_capture_session_v1_destroy(o);
    }
    void operator()(ext_output_image_capture_source_manager_v1 *o) const {
        ext_output_image_capture_source_manager_v1_destroy(o);
    }
    void operator()(kde_output_order_v1 *o) const { kde_output_order_v1_destroy(o); }
    void operator()(org_kde_kwin_fake_input *o) const { org_kde_kwin_fake_input_destroy(o); }
    void operator()(wp_fractional_scale_manager_v1 *o) const { wp_fractional_scale_manager_v1_destroy(o); }
    void operator()(wp_fractional_scale_v1 *o) const { wp_fractional_scale_v1_destroy(o); }
    void operator()(wp_viewport *o) const { wp_viewport_destroy(o); }
    void operator()(wp_viewporter *o) const { wp_viewporter_destroy(o); }
    void operator()(zwlr_layer_shell_v1 *o) const {
        if (zwlr_layer_shell_v1_get_version(o) >= ZWLR_LAYER_SHELL_V1_DESTROY_SINCE_VERSION)
            zwlr_layer_shell_v1_destroy(o);
        else
            wl_proxy_destroy(reinterpret_cast<wl_proxy *>(o));
    }
    void operator()(zwlr_layer_surface_v1 *o) const { zwlr_layer_surface_v1_destroy(o); }
    void operator()(zwlr_screencopy_frame_v1 *o) const { zwlr_screencopy_frame_v1_destroy(o); }
    void operator()(zwlr_screencopy_manager_v1 *o) const { zwlr_screencopy_manager_v1_destroy(o); }
    void operator()(zwlr_virtual_pointer_manager_v1 *o) const { zwlr_virtual_pointer_manager_v1_destroy(o); }
    void operator()(zwlr_virtual_pointer_v1 *o) const { zwlr_virtual_pointer_v1_destroy(o); }
    void operator()(zxdg_output_manager_v1 *o) const { zxdg_output_manager_v1_destroy(o); }
    void operator()(zxdg_output_v1 *o) const { zxdg_output_v1_destroy(o); }
};

template <class T>
using WaylandPtr = std::unique_ptr<T, WaylandDelete>;

} // namespace companion
