'use strict';

const { testQuickRows } = require('./support/suite');

testQuickRows('hostile playlists', require('./rows/hls'));
