#pragma once
// Owning smart pointers for GLib/GObject resources, so no C resource is ever freed by hand.

#include <glib-object.h>
#include <glib.h>
#include <memory>
#include <string>
#include <utility>

namespace ostrel {

// Shared-ownership-free handle to a GObject: one reference, released on destruction.
template <typename T> class GObjectPtr {
  public:
    GObjectPtr() = default;
    // Takes over a reference the caller owns (the usual "transfer full" return value).
    static GObjectPtr adopt(T* p) { return GObjectPtr(p); }
    // Adds a reference of our own (for "transfer none" values we want to keep).
    static GObjectPtr ref(T* p) { return GObjectPtr(p ? static_cast<T*>(g_object_ref(p)) : nullptr); }

    GObjectPtr(const GObjectPtr& o) : p_(o.p_ ? static_cast<T*>(g_object_ref(o.p_)) : nullptr) {}
    GObjectPtr(GObjectPtr&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
    GObjectPtr& operator=(GObjectPtr o) noexcept {
        std::swap(p_, o.p_);
        return *this;
    }
    ~GObjectPtr() {
        if (p_) g_object_unref(p_);
    }

    T* get() const { return p_; }
    T* operator->() const { return p_; }
    explicit operator bool() const { return p_ != nullptr; }
    void reset() { GObjectPtr().swap(*this); }
    void swap(GObjectPtr& o) noexcept { std::swap(p_, o.p_); }

  private:
    explicit GObjectPtr(T* p) : p_(p) {}
    T* p_ = nullptr;
};

template <typename T> GObjectPtr<T> adopt(T* p) {
    return GObjectPtr<T>::adopt(p);
}

struct GFreeDeleter {
    void operator()(void* p) const { g_free(p); }
};
using GCharPtr = std::unique_ptr<char, GFreeDeleter>;

struct GErrorDeleter {
    void operator()(GError* e) const { g_error_free(e); }
};
using GErrorPtr = std::unique_ptr<GError, GErrorDeleter>;

struct GStrvDeleter {
    void operator()(char** v) const { g_strfreev(v); }
};
using GStrvPtr = std::unique_ptr<char*, GStrvDeleter>;

struct GBytesDeleter {
    void operator()(GBytes* b) const { g_bytes_unref(b); }
};
using GBytesPtr = std::unique_ptr<GBytes, GBytesDeleter>;

struct GVariantDeleter {
    void operator()(GVariant* v) const { g_variant_unref(v); }
};
using GVariantPtr = std::unique_ptr<GVariant, GVariantDeleter>;

struct GKeyFileDeleter {
    void operator()(GKeyFile* k) const { g_key_file_unref(k); }
};
using GKeyFilePtr = std::unique_ptr<GKeyFile, GKeyFileDeleter>;

// Collects a GError from a C call: `GErrorOut err; f(..., err.out()); if (err) ...`.
class GErrorOut {
  public:
    GError** out() { return &raw_; }
    explicit operator bool() const { return raw_ != nullptr; }
    const GError* get() const { return raw_; }
    std::string message() const { return raw_ ? raw_->message : ""; }
    bool matches(GQuark domain, int code) const { return g_error_matches(raw_, domain, code); }
    ~GErrorOut() {
        if (raw_) g_error_free(raw_);
    }
    GErrorOut() = default;
    GErrorOut(const GErrorOut&) = delete;
    GErrorOut& operator=(const GErrorOut&) = delete;

  private:
    GError* raw_ = nullptr;
};

// A GLib source id that is removed when the owner goes away.
class SourceId {
  public:
    SourceId() = default;
    explicit SourceId(guint id) : id_(id) {}
    SourceId(SourceId&& o) noexcept : id_(std::exchange(o.id_, 0)) {}
    SourceId& operator=(SourceId&& o) noexcept {
        if (this != &o) {
            remove();
            id_ = std::exchange(o.id_, 0);
        }
        return *this;
    }
    ~SourceId() { remove(); }
    void remove() {
        if (id_) g_source_remove(std::exchange(id_, 0));
    }
    // The source removed itself (its callback returned G_SOURCE_REMOVE): forget the id.
    void forget() { id_ = 0; }
    explicit operator bool() const { return id_ != 0; }

  private:
    guint id_ = 0;
};

// A signal connection that is disconnected when the owner goes away.
class SignalConnection {
  public:
    SignalConnection() = default;
    SignalConnection(gpointer instance, gulong id) : instance_(instance), id_(id) {}
    SignalConnection(SignalConnection&& o) noexcept
        : instance_(std::exchange(o.instance_, nullptr)), id_(std::exchange(o.id_, 0)) {}
    SignalConnection& operator=(SignalConnection&& o) noexcept {
        if (this != &o) {
            disconnect();
            instance_ = std::exchange(o.instance_, nullptr);
            id_ = std::exchange(o.id_, 0);
        }
        return *this;
    }
    ~SignalConnection() { disconnect(); }
    void disconnect() {
        if (instance_ && id_ && g_signal_handler_is_connected(instance_, id_))
            g_signal_handler_disconnect(instance_, id_);
        instance_ = nullptr;
        id_ = 0;
    }

  private:
    gpointer instance_ = nullptr;
    gulong id_ = 0;
};

} // namespace ostrel
