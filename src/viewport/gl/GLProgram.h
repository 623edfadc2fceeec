// One linked GLSL program with its uniform locations looked up once. Internal to the renderer;
// the context must be current for every call, destruction included.
#pragma once

#include <string>
#include <unordered_map>

namespace vistrel::viewport {

class GLProgram {
  public:
    GLProgram() = default;
    ~GLProgram();
    GLProgram(const GLProgram&) = delete;
    GLProgram& operator=(const GLProgram&) = delete;

    // False with the compiler's log in `error`.
    bool build(const char* vertex, const char* fragment, std::string& error);
    void use() const;
    // -1 for a uniform the program does not use (GL ignores writes to it). Cached after the
    // first lookup; look every name up once outside the frame loop.
    int location(const char* name);
    unsigned id() const { return id_; }

  private:
    unsigned id_ = 0;
    std::unordered_map<std::string, int> locations_;
};

}  // namespace vistrel::viewport
