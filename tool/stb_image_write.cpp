// The PNG writer of stb_image_write, compiled once for the whole tool.
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO  // files are written by the tool itself
#include <stb/stb_image_write.h>
