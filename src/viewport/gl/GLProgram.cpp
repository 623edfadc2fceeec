#include "gl/GLProgram.h"

#include <epoxy/gl.h>

#include <vector>

namespace vistrel::viewport {

namespace {

GLuint compile(GLenum type, const char* source, std::string& error) {
    GLuint s = glCreateShader(type);
    glShaderSource(s, 1, &source, nullptr);
    glCompileShader(s);
    GLint ok = 0;
    glGetShaderiv(s, GL_COMPILE_STATUS, &ok);
    if (!ok) {
        GLint length = 0;
        glGetShaderiv(s, GL_INFO_LOG_LENGTH, &length);
        std::vector<char> log(size_t(std::max(length, 1)));
        glGetShaderInfoLog(s, length, nullptr, log.data());
        error = std::string(type == GL_VERTEX_SHADER ? "vertex" : "fragment") +
                " shader: " + log.data();
        glDeleteShader(s);
        return 0;
    }
    return s;
}

}  // namespace

GLProgram::~GLProgram() {
    if (id_) glDeleteProgram(id_);
}

bool GLProgram::build(const char* vertex, const char* fragment, std::string& error) {
    GLuint vs = compile(GL_VERTEX_SHADER, vertex, error);
    if (!vs) return false;
    GLuint fs = compile(GL_FRAGMENT_SHADER, fragment, error);
    if (!fs) {
        glDeleteShader(vs);
        return false;
    }
    id_ = glCreateProgram();
    glAttachShader(id_, vs);
    glAttachShader(id_, fs);
    glLinkProgram(id_);
    glDeleteShader(vs);
    glDeleteShader(fs);
    GLint ok = 0;
    glGetProgramiv(id_, GL_LINK_STATUS, &ok);
    if (!ok) {
        GLint length = 0;
        glGetProgramiv(id_, GL_INFO_LOG_LENGTH, &length);
        std::vector<char> log(size_t(std::max(length, 1)));
        glGetProgramInfoLog(id_, length, nullptr, log.data());
        error = std::string("link: ") + log.data();
        return false;
    }
    return true;
}

void GLProgram::use() const {
    glUseProgram(id_);
}

int GLProgram::location(const char* name) {
    auto it = locations_.find(name);
    if (it != locations_.end()) return it->second;
    int l = glGetUniformLocation(id_, name);
    locations_.emplace(name, l);
    return l;
}

}  // namespace vistrel::viewport
