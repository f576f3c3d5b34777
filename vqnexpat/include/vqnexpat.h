#ifndef VQNEXPAT_H
#define VQNEXPAT_H

#endif
