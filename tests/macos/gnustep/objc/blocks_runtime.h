// GNUstep's headers include the blocks runtime by this name; Debian's header is Block.h.
#include <Block.h>
