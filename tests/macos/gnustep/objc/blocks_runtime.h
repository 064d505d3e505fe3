// GNUstep's headers ask for the blocks runtime under this name; Debian's is called Block.h.
#include <Block.h>
