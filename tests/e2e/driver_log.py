"""Counts what reached the fake driver, from its log: another way to the numbers of playback-info's statistics.

Knows less than playback-info on purpose, and nothing of captures: contexts follow eglMakeCurrent, frames end at swaps.
"""

import re
from collections import Counter, defaultdict

CALL = re.compile(r"(\w+)\((.*)\)(?: = (.*))?$")
PIXEL_BYTES = {("GL_RGBA", "GL_UNSIGNED_BYTE"): 4, ("GL_RGB", "GL_UNSIGNED_BYTE"): 3, ("GL_ALPHA", "GL_UNSIGNED_BYTE"): 1,
               ("GL_LUMINANCE", "GL_UNSIGNED_BYTE"): 1, ("GL_RED", "GL_UNSIGNED_BYTE"): 1,
               ("GL_RGB", "GL_UNSIGNED_SHORT_5_6_5"): 2, ("GL_RGBA", "GL_UNSIGNED_SHORT_4_4_4_4"): 2,
               ("GL_RGBA", "GL_UNSIGNED_SHORT_5_5_5_1"): 2, ("GL_RGBA", "GL_FLOAT"): 16, ("GL_RED", "GL_FLOAT"): 4,
               ("GL_RGBA", "GL_HALF_FLOAT"): 8, ("GL_RG", "GL_UNSIGNED_BYTE"): 2, ("GL_RED_INTEGER", "GL_UNSIGNED_INT"): 4,
               ("GL_RGBA_INTEGER", "GL_UNSIGNED_SHORT"): 8, ("GL_DEPTH_COMPONENT", "GL_UNSIGNED_SHORT"): 2,
               ("GL_DEPTH_COMPONENT", "GL_UNSIGNED_INT"): 4}
TYPE_BYTES = {"GL_FLOAT": 4, "GL_BYTE": 1, "GL_UNSIGNED_BYTE": 1, "GL_SHORT": 2, "GL_UNSIGNED_SHORT": 2, "GL_INT": 4}
# Where the counts stand among the arguments: vertices, and instances where there are some.
DRAWS = {"glDrawArrays": (2,), "glDrawElements": (1,), "glDrawRangeElements": (3,), "glDrawArraysInstanced": (2, 3),
         "glDrawElementsInstanced": (1, 4), "glDrawElementsBaseVertex": (1,), "glDrawRangeElementsBaseVertex": (3,),
         "glDrawElementsInstancedBaseVertex": (1, 4)}
# Where the sizes stand (width, height, and depth), format, type and pixels.
IMAGES = {"glTexImage2D": ((3, 4), 6, 7, 8), "glTexSubImage2D": ((4, 5), 6, 7, 8), "glTexImage3D": ((3, 4, 5), 7, 8, 9),
          "glTexSubImage3D": ((5, 6, 7), 8, 9, 10)}
COMPRESSED = {"glCompressedTexImage2D": 6, "glCompressedTexSubImage2D": 7, "glCompressedTexImage3D": 7,
              "glCompressedTexSubImage3D": 9}
KINDS = {"Textures": "textures", "Buffers": "buffers", "Renderbuffers": "renderbuffers", "Framebuffers": "framebuffers",
         "VertexArrays": "vertexArrays", "Samplers": "samplers", "Queries": "queries", "Shader": "shaders",
         "Program": "programs", "ProgramPipelines": "programPipelines", "TransformFeedbacks": "transformFeedbacks"}
POINTERS = ("glVertexAttribPointer", "glVertexAttribIPointer")
# State with one value for each of the arguments in front: how many those are, and the value at the start.
STATE = {"glUseProgram": (0, "0"), "glActiveTexture": (0, "GL_TEXTURE0"), "glDepthMask": (0, "true"),
         "glDepthFunc": (0, "GL_LESS"), "glViewport": (0, None), "glScissor": (0, None), "glClearColor": (0, "0, 0, 0, 0"),
         "glBindRenderbuffer": (1, "0"), "glPixelStorei": (1, None), "glHint": (1, "GL_DONT_CARE"),
         "glUniform1f": (1, None), "glUniform1i": (1, None), "glUniform4f": (1, None), "glUniform2f": (1, None),
         "glSamplerParameteri": (2, None)}


def split(text):
    """The arguments; those in brackets and quotes stay together."""
    parts, depth, quoted, part = [], 0, False, ""
    for char in text:
        quoted ^= char == '"'
        depth += (char in "[{<(") - (char in "]}>)") if not quoted else 0
        if char == "," and depth == 0 and not quoted:
            parts.append(part.strip())
            part = ""
        else:
            part += char
    return [*parts, part.strip()] if part.strip() else parts


def names(text):
    return re.findall(r"\d+", text)


class Context:
    def __init__(self):
        self.values = {}
        self.bound = {}  # (call, what is in front of the name): name

    def unit(self):
        return self.values.get(("glActiveTexture",), "GL_TEXTURE0")


def pointers(dump):
    """Calls of POINTERS in a dump, (frame, name, whether the attribute changed) of each.

    Replay points at client memory anew in front of each draw, so that a driver's log cannot tell.
    """
    bound, attributes, calls = Counter(), {}, []
    for frame, context, name, text in re.findall(r"^(\d+):\d+ t\d+ (c\d+) (\w+)\((.*)\)", dump, re.M):
        args = [arg.partition("=")[2] for arg in split(text)]
        place = bound[context, "glBindVertexArray"]
        if name in ("glBindBuffer", "glBindVertexArray"):
            bound[context, args[0] if name == "glBindBuffer" else name] = args[-1]
        elif name in ("glDeleteBuffers", "glDeleteVertexArrays"):
            gone = names(args[1])
            bound = Counter({key: value for key, value in bound.items() if value not in gone})
            attributes = {key: value for key, value in attributes.items() if value[0] not in gone}
        elif name in POINTERS:
            size, kind, stride = args[1], args[2], args[-2]
            packed = int(size) * TYPE_BYTES.get(kind, 0) or 4
            value = (bound[context, "GL_ARRAY_BUFFER"], name, *args[1:-2], packed if stride == "0" else int(stride), args[-1])
            calls.append((int(frame), name, attributes.get((context, place, args[0])) != value))
            attributes[context, place, args[0]] = value
    return calls


class DriverLog:
    """`frames` has a Counter for each part that ends with a swap, and one for what comes behind the last."""

    def __init__(self, path):
        self.frames = [Counter()]
        self.alive = defaultdict(set)
        self.most = Counter()
        self.contexts = defaultdict(Context)
        self.context = self.contexts["0"]
        for line in path.read_text().splitlines():
            m = CALL.match(line)
            if m:
                self.take(m[1], split(m[2]), m[3])

    @property
    def total(self):
        return sum(self.frames, Counter())

    def count(self, key, by=1, frame=-1):
        self.frames[frame][key] += by

    def take(self, name, args, result):
        self.count(name)
        if name == "eglMakeCurrent":
            self.context = self.contexts[args[3]]
        elif name == "eglSwapBuffers":
            self.frames.append(Counter())
        elif name in DRAWS:
            vertices, instances = (*(int(args[at]) for at in DRAWS[name]), 1)[:2]
            self.count("draws")
            self.count("instances", instances)
            self.count("vertices", vertices * instances)
        elif name in ("glReadPixels", "glReadnPixels"):
            self.count("readBytes", int(args[2]) * int(args[3]) * PIXEL_BYTES[args[4], args[5]])
        elif name.startswith("glGetQueryObject") and args[1] == "GL_QUERY_RESULT" or \
                re.match("(gl|egl)ClientWaitSync", name) and args[-1] != "0" or name == "glFinish":
            self.count(("wait", name))
        elif name == "glDispatchCompute":
            self.count("groups", int(args[0]) * int(args[1]) * int(args[2]))
        elif name in ("glBufferData", "glBufferStorageEXT", "glBufferSubData"):
            size, data = (1, 2) if name != "glBufferSubData" else (2, 3)
            self.count("bufferBytes", int(args[size]) if args[data] != "null" else 0)
        elif name in IMAGES or name in COMPRESSED:
            self.upload(name, args)
        elif name == "glCreateShader":
            self.count(args[0])
        self.objects(name, args, result)
        self.state(name, args)

    def upload(self, name, args):
        if name in COMPRESSED:
            size, pixels = int(args[COMPRESSED[name]]), args[-1]
        else:
            sizes, form, kind, at = IMAGES[name]
            pixels, size = args[at], PIXEL_BYTES[args[form], args[kind]]
            for dimension in sizes:
                size *= int(args[dimension])
        from_buffer = self.context.bound.get(("glBindBuffer", "GL_PIXEL_UNPACK_BUFFER"), "0") != "0"
        self.count("textureBytes", size if pixels != "null" or from_buffer else 0)

    def objects(self, name, args, result):
        m = re.fullmatch(r"gl(Gen|Create|Delete)(\w+?)(EXT|OES)?", name.replace("ShaderProgramv", "Program"))
        kind = m and KINDS.get(m[2])
        if not kind:
            return
        if m[1] == "Delete":
            for deleted in names(args[-1]):
                self.alive[kind].discard(deleted)
                self.context.bound = {place: n for place, n in self.context.bound.items() if n != deleted}
        else:
            self.alive[kind].update(names(result))
            self.most[kind] = max(self.most[kind], len(self.alive[kind]))

    def state(self, name, args):
        if name in ("glEnable", "glDisable"):
            start = "glEnable" if args[0] == "GL_DITHER" else "glDisable"
            self.set(self.context.values, ("capability", *args), name, name, start)
        elif name == "glBindTexture":
            self.set(self.context.bound, (name, self.context.unit(), args[0]), args[1], name, "0")
        elif name == "glBindBuffer" and args[0] != "GL_ELEMENT_ARRAY_BUFFER":
            self.set(self.context.bound, (name, args[0]), args[1], name, "0")
        elif name in STATE and args[:1] != ["-1"]:
            fixed, start = STATE[name]
            place = (name, *args[:fixed])
            if name.startswith("glUniform"):
                place = ("uniform", self.context.values.get(("glUseProgram",)), args[0])
            self.set(self.context.values, place, ", ".join(args[fixed:]), name, start)

    def set(self, values, place, value, name, start):
        if values.get(place, start) == value:
            self.count(("redundant", name))
        values[place] = value
