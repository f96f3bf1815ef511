/* Identifiers shared by the resource script and the code; plain macros for both compilers. */
#pragma once

#define kIconProgram 1
#define kAboutPicture 101
