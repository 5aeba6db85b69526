#pragma once

#include <gio/gio.h>

#include <QString>

#include <memory>

namespace corvid {

/** Gives something back by the function that GLib has for that. */
template <auto release>
struct GRelease {
    template <typename T>
    void operator()(T *what) const {
        release(what);
    }
};

/** Owns one reference to a GObject. */
template <typename T>
using GObjectPointer = std::unique_ptr<T, GRelease<g_object_unref>>;
/** Owns memory that GLib allocated. */
template <typename T>
using GFreePointer = std::unique_ptr<T, GRelease<g_free>>;
using GStrvPointer = std::unique_ptr<gchar *, GRelease<g_strfreev>>;
using GVariantPointer = std::unique_ptr<GVariant, GRelease<g_variant_unref>>;
using GMainContextPointer = std::unique_ptr<GMainContext, GRelease<g_main_context_unref>>;
using GKeyFilePointer = std::unique_ptr<GKeyFile, GRelease<g_key_file_unref>>;

/** Receives the error of one GLib call: pass out() to it. */
class GErrorHolder {
public:
    GErrorHolder() = default;
    Q_DISABLE_COPY_MOVE(GErrorHolder)
    ~GErrorHolder() { g_clear_error(&error_); }

    GError **out() {
        g_clear_error(&error_);
        return &error_;
    }
    GError *get() const { return error_; }
    QString message() const { return error_ ? QString::fromUtf8(error_->message) : QString(); }

private:
    GError *error_ = nullptr;
};

} // namespace corvid
