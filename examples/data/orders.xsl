<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output method="text"/>
  <xsl:template match="/">
    <xsl:for-each select="orders/order">
      <xsl:sort select="@number" data-type="number" order="descending"/>
      <xsl:value-of select="concat(@number, ': ', article, ' for ', buyer, '&#10;')"/>
    </xsl:for-each>
  </xsl:template>
</xsl:stylesheet>
