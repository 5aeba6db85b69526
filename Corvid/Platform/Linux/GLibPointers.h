#pragma once

#include "Platform/ReleasedBy.h"

#include <gio/gio.h>

#include <QString>

#include <memory>

namespace corvid {

/** Owns one reference to a GObject. */
template <typename T>
using GObjectPointer = std::unique_ptr<T, ReleasedBy<g_object_unref>>;

/** Owns memory that GLib allocated. */
template <typename T>
using GFreePointer = std::unique_ptr<T, ReleasedBy<g_free>>;

using GStrvPointer = std::unique_ptr<gchar *, ReleasedBy<g_strfreev>>;
using GVariantPointer = std::unique_ptr<GVariant, ReleasedBy<g_variant_unref>>;
using GMainContextPointer = std::unique_ptr<GMainContext, ReleasedBy<g_main_context_unref>>;
using GKeyFilePointer = std::unique_ptr<GKeyFile, ReleasedBy<g_key_file_unref>>;

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
