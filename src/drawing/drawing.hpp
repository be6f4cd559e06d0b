// Internal declarations of the drawing subsystem.
#pragma once
