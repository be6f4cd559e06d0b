// Internal declarations of the intersection subsystem.
#pragma once
