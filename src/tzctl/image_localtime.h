#pragma once

// Keeps /etc/localtime what every reader understands: a one-step link
// into /usr/share/zoneinfo, from whose target systemd and ICU take the
// zone's name. A link of that shape is left as it is; a link into
// another zoneinfo tree is pointed at the same zone there, absolute when
// it was; a copied zone file becomes a link when /etc/timezone names its
// zone. Otherwise a line says why it is left. Throws what plain_files
// throws.

class image_tree;

void keep_localtime_one_step(const image_tree& image);
