#pragma once

#include <gio/gio.h>

#include <QString>

#include <memory>

namespace corvid {

struct GObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
/** Owns one reference to a GObject. */
template <typename T>
using GObjectPointer = std::unique_ptr<T, GObjectUnref>;

struct GFree {
    void operator()(gpointer memory) const { g_free(memory); }
};
/** Owns memory that GLib allocated. */
template <typename T>
using GFreePointer = std::unique_ptr<T, GFree>;

struct GStrvFree {
    void operator()(gchar **strings) const { g_strfreev(strings); }
};
using GStrvPointer = std::unique_ptr<gchar *, GStrvFree>;

struct GVariantUnref {
    void operator()(GVariant *variant) const { g_variant_unref(variant); }
};
using GVariantPointer = std::unique_ptr<GVariant, GVariantUnref>;

struct GMainContextUnref {
    void operator()(GMainContext *context) const { g_main_context_unref(context); }
};
using GMainContextPointer = std::unique_ptr<GMainContext, GMainContextUnref>;

struct GKeyFileUnref {
    void operator()(GKeyFile *file) const { g_key_file_unref(file); }
};
using GKeyFilePointer = std::unique_ptr<GKeyFile, GKeyFileUnref>;

/** Receives the error of one GLib call: pass out() to it. */
class GErrorHolder {
public:
    GErrorHolder() = default;
    GErrorHolder(const GErrorHolder &) = delete;
    GErrorHolder &operator=(const GErrorHolder &) = delete;
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
