'use strict';

const { testQuickRows } = require('./support/suite');

testQuickRows('hostile RTSP servers', require('./rows/rtsp'));
