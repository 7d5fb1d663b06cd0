#pragma once

namespace tovri::sandbox {

struct Scene;

// A small media library of about 300 MB, with transfers in every state and a few feeds.
void addDemoAccount(const Scene& scene);

}  // namespace tovri::sandbox
