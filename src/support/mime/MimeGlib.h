#pragma once
// Owning GLib/GMime pointers and one-time GMime start-up, for the MIME layer's .cpp files only
// (GLib's identifiers clash with Qt's keyword macros elsewhere).
#include <gmime/gmime.h>

#include <memory>

#include "support/mime/MimeCharset.h"

namespace kvmail::mime {

struct GUnref {
  void operator()(gpointer p) const {
    if (p) g_object_unref(p);
  }
};
template <class T>
using GRef = std::unique_ptr<T, GUnref>;

struct GFree {
  void operator()(gpointer p) const { g_free(p); }
};
using GChars = std::unique_ptr<char, GFree>;

inline void ensureGMime() {
  static const bool ready = (g_mime_init(), keepConvertersLoaded(), true);
  (void)ready;
}

}  // namespace kvmail::mime
