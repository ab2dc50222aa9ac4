// All rows of the table, in its order.
#pragma once

#include <vector>

#include "row.h"

namespace bench {

void add_video_rows(std::vector<Row>& rows);
void add_sound_rows(std::vector<Row>& rows);
void add_counting_rows(std::vector<Row>& rows);
void add_writing_rows(std::vector<Row>& rows);
void add_picture_rows(std::vector<Row>& rows);

}  // namespace bench
