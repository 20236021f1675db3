'use strict';

const { testQuickRows } = require('./support/suite');

testQuickRows('hostile RTMP servers', require('./rows/rtmp'));
